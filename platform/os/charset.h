#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Text of a charset by its Internet name ("koi8-r", in any case) as UTF-8; each byte that begins no
// character becomes U+FFFD. Nothing if the system does not know the charset.
std::optional<std::string> CharsetToUtf8(std::string_view bytes, const std::string& charset);

}  // namespace platform
