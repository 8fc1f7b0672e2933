#pragma once

#include <string>
#include <string_view>

namespace host::mail {

bool IsUtf8(std::string_view text);

// Text of a charset as UTF-8; what is none becomes U+FFFD. A charset that is missing or not known
// counts as UTF-8 if the text is valid in it, else as the code page.
std::string DecodedText(std::string_view bytes, const std::string& charset, unsigned codePage);

}  // namespace host::mail
