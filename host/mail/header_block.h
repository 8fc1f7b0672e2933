#pragma once

#include <optional>
#include <string>
#include <string_view>

// Writing the header of an Internet message (RFC 5322, RFC 2047): UTF-8 in, folded ASCII lines with
// LF ends out. No text can end its field or begin another one. A field without text is left out.
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
