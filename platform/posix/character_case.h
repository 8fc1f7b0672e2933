#pragma once

#include <string_view>

namespace platform::posix {

// Lower and upper case of one character, whatever the locale of the process.
char32_t FoldCase(char32_t character);
char32_t RaiseCase(char32_t character);
// The rule of platform/os/name_pattern.h, without regard to case.
bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace platform::posix
