#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace host::shell {

using Json = nlohmann::ordered_json;

// The words of one line behind the operation: JSON texts, arrays and objects, and bare words that
// end at a blank. Each getter that meets something unusable keeps the first complaint; the
// operation asks Failed() before it calls anything.
class Arguments {
  public:
    explicit Arguments(std::string_view rest);

    bool Has(std::size_t index) const { return index < m_words.size(); }
    // Bytes. A bare word stands for itself.
    std::string Text(std::size_t index, std::string_view otherwise = {});
    // The whole rest of the line if it does not begin with a quote: ids may hold blanks.
    std::string WholeText();
    long Number(std::size_t index, long otherwise);
    // Any JSON value; null if it is missing.
    Json Value(std::size_t index);
    // Complains about words from `count` on.
    void ExpectAtMost(std::size_t count);

    void Complain(std::string text);
    bool Failed() const { return !m_complaint.empty(); }
    const std::string& Complaint() const { return m_complaint; }

  private:
    std::size_t WordEnd(std::size_t start) const;

    std::string m_rest;
    std::vector<std::string> m_words;
    std::string m_complaint;
};

// The bytes of a JSON text; complains if it is none or holds a character above U+00FF.
std::string BytesOf(const Json& value, Arguments& arguments);

}  // namespace host::shell
