#pragma once

#include <string>
#include <string_view>

namespace host::mail {

// The names of transfer encodings.
inline constexpr std::string_view k7Bit = "7bit", kQuotedPrintable = "quoted-printable",
                                  kBase64 = "base64";

// The first of the three that brings a text with LF line ends over whole: 7 bit for lines of ASCII
// that fit and that no mailbox file would take for a separator, base64 where most of it would be
// escapes.
std::string_view ChooseEncoding(std::string_view text);

void AppendEncoded(std::string& out, std::string_view text, std::string_view encoding);

// Base64 without line ends.
void AppendBase64(std::string& out, std::string_view bytes);

// Bytes that make one line of base64.
inline constexpr std::size_t kBase64LineBytes = 57;

// Base64 in lines of 76 characters. Pieces of one text are appended one after the other if all but
// the last are whole lines.
void AppendBase64Lines(std::string& out, std::string_view bytes);

}  // namespace host::mail
