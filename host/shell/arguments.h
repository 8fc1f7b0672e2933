#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace host::shell {

using Json = nlohmann::ordered_json;

// The words of one line behind the operation: JSON texts, arrays and objects, and bare words that
// end at a blank. The first complaint about them is kept, and nothing may be called after one.
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

    // Whether no word stands behind the first `count` and there is no complaint.
    bool EndAt(std::size_t count);

    void Complain(std::string text);
    bool Failed() const { return !m_complaint.empty(); }
    const std::string& Complaint() const { return m_complaint; }

  private:
    std::size_t WordEnd(std::size_t start) const;
    std::string Bytes(const std::string& word);

    std::string m_rest;
    std::vector<std::string> m_words;
    std::string m_complaint;
};

// Bytes of the translator interface as a JSON text: the characters U+0000 to U+00FF stand for the
// bytes 0 to 255.
Json JsonOf(std::string_view bytes);
// The bytes of a JSON text; complains if it is none or holds a character above U+00FF.
std::string BytesOf(const Json& value, Arguments& arguments);

}  // namespace host::shell
