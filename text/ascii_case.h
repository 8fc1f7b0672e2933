#pragma once

#include <string_view>

namespace text {

// Whether two texts are equal but for the case of the ASCII letters, as in the C locale.
bool EqualNoCase(std::string_view a, std::string_view b);

}  // namespace text
