#pragma once

#include <string>
#include <string_view>

namespace platform {

// Text between a system code page (1252, 932, ...; 65001 is UTF-8 itself) and UTF-8, as Windows
// maps it, but never by a character that merely looks alike. A byte 0x80 to 0x9F that stands for
// nothing in its code page becomes the control character of the same number and comes back as that
// byte, so every text of 1252 survives the way there and back. An unknown code page counts as
// 1252.

// Bytes that are no character of the code page become U+FFFD.
std::string ToUtf8(std::string_view text, unsigned codePage);

// A character that the code page lacks, and a byte that is no UTF-8, becomes "?"; `lossy`, if
// given, says whether there was one.
std::string FromUtf8(std::string_view text, unsigned codePage, bool* lossy = nullptr);

// Each letter in upper case, in whatever language; one whose upper case the code page lacks stays,
// and so does what is no character.
std::string UpperCase(std::string_view text, unsigned codePage);

}  // namespace platform
