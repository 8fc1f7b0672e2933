#pragma once

#include <string_view>

// Characters of one or two bytes in the system code pages of Windows.
namespace text {

// Whether `byte` opens a double-byte character of the code page (932, 936, 949, 950, 1361).
bool IsLeadByte(unsigned char byte, unsigned codePage);

// The length in bytes of the longest part of `text` from its beginning that has at most `limit`
// bytes and ends with a whole character.
std::string_view::size_type WholeCharacterPrefix(std::string_view text,
                                                 std::string_view::size_type limit,
                                                 unsigned codePage);

// Whether `part` occurs in `text`, beginning at a whole character. The empty text always does.
bool ContainsText(std::string_view text, std::string_view part, unsigned codePage);

}  // namespace text
