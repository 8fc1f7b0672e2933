#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Text of a charset by its Internet name ("koi8-r", in any case), as mail programs mean it, as
// UTF-8; what is no character becomes U+FFFD. Nothing if the name says nothing or the system does
// not know it.
std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset);

}  // namespace platform
