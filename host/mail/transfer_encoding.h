#pragma once

#include <string>
#include <string_view>

// Transfer encodings of message bodies (RFC 2045), for composing.
namespace host::mail {

// The names of transfer encodings.
inline constexpr std::string_view k7Bit = "7bit", kQuotedPrintable = "quoted-printable",
                                  kBase64 = "base64";

// The encoding for a text with LF line ends: 7 bit for ASCII lines that fit and that no mailbox
// file takes for a separator; else quoted-printable, or base64 if more than a sixth of the bytes
// are neither ASCII nor line ends, from where on escapes take more room.
std::string_view ChooseEncoding(std::string_view text);

// Appends a text with LF line ends in one of the three encodings.
void AppendEncoded(std::string& out, std::string_view text, std::string_view encoding);

// Base64 without line ends.
void AppendBase64(std::string& out, std::string_view bytes);

// Bytes that make one line of base64.
inline constexpr std::size_t kBase64LineBytes = 57;

// Base64 in lines of 76 characters. A text may come in pieces; all but the last are then multiples
// of kBase64LineBytes.
void AppendBase64Lines(std::string& out, std::string_view bytes);

}  // namespace host::mail
