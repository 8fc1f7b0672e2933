#pragma once

#include <string_view>

namespace platform::posix {

// The lower case of one character, whatever the locale of the process.
char32_t FoldCase(char32_t character);
// The rule of platform/os/name_pattern.h for names in UTF-8, without regard to case.
bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace platform::posix
