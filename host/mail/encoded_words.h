#pragma once

#include <string>
#include <string_view>

#include "text/utf.h"

// Header texts of Internet messages (RFC 2047) in UTF-8. Charsets have their Internet names, code
// pages Microsoft's numbers.
namespace host::mail {

// Text of a charset as UTF-8; what is none becomes U+FFFD. A charset that is missing or not known
// counts as UTF-8 if the text is valid in it, else as the code page.
std::string DecodedText(std::string_view bytes, std::string_view charset, unsigned codePage);

// A text of UTF-8 with its encoded words decoded. Words in a charset that is not known count as of
// the code page.
std::string DecodeWords(std::string_view text, unsigned codePage = text::kUtf8);

}  // namespace host::mail
