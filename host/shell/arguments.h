#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace host::shell {

using Json = nlohmann::ordered_json;

// The reason, in UTF-8, why a line cannot be used; the module has not been called.
struct Complaint : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The words of one line behind the operation: JSON texts, arrays and objects, and bare words that
// end at a blank. Each function throws a Complaint about words that are not as it needs them.
class Arguments {
  public:
    explicit Arguments(std::string_view rest);

    bool Has(std::size_t index) const { return index < m_words.size(); }
    // The bytes of a word; empty if it is missing. A bare word stands for itself.
    std::string Text(std::size_t index) const;
    // The whole rest of the line if it does not begin with a quote: ids may hold blanks.
    std::string WholeText() const;
    // 0 without that word.
    long Number(std::size_t index) const;
    // Any JSON value; null if it is missing.
    Json Value(std::size_t index) const;

    // Complains about a word behind the first `count`.
    void EndAt(std::size_t count) const;

  private:
    std::size_t WordEnd(std::size_t start) const;

    std::string m_rest;
    std::vector<std::string> m_words;
};

// Bytes of the translator interface as a JSON text: the characters U+0000 to U+00FF stand for the
// bytes 0 to 255.
Json JsonOf(std::string_view bytes);
// The bytes of a JSON text; complains if it is none or holds a character above U+00FF.
std::string BytesOf(const Json& value);

}  // namespace host::shell
