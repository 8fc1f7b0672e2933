#pragma once

#include <optional>
#include <string>
#include <string_view>

// Fields of a message's header, lines folded. Nothing in a text of UTF-8 can end its field, and a
// field whose text is missing or empty is left out.
namespace host::mail {

// A text of any characters.
void AppendText(std::string& header, std::string_view name, const std::optional<std::string>& text);
// Addresses as the translator joins them ("; " between them).
void AppendAddresses(std::string& header, std::string_view name,
                     const std::optional<std::string>& text);
// A value that is known to fit one line of ASCII.
void AppendField(std::string& header, std::string_view name, std::string_view value);

// In quotes, with a backslash in front of each quote and backslash.
std::string Quoted(std::string_view text);

}  // namespace host::mail
