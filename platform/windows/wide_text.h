#pragma once

#include <string>
#include <string_view>

namespace platform::windows {

// Text of a code page (CP_ACP and CP_UTF8 too) to and from UTF-16 as the system's own A functions
// do it: what does not fit is replaced by the system's choice.
std::wstring Wide(std::string_view text, unsigned codePage);
std::string Narrow(std::wstring_view wide, unsigned codePage);

// The same without replacement: empty if the code page lacks one of the characters.
std::string NarrowExactly(std::wstring_view wide, unsigned codePage);

// A name in UTF-16 for the system, converted without loss. Empty if the text holds a zero byte or
// bytes that are no character.
std::wstring WideName(std::string_view text, unsigned codePage);

}  // namespace platform::windows
