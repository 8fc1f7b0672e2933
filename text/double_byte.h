#pragma once

#include <string_view>

// Characters of one or two bytes in the system code pages of Windows. What a lead byte begins has
// two bytes whatever the second is; a lead byte at the end of a text is a character of one.
namespace text {

// Whether `byte` opens a double-byte character of the code page (932, 936, 949, 950, 1361).
bool IsLeadByte(char byte, unsigned codePage);

// The bytes of the first character of `text`, which is not empty.
std::size_t CharacterLength(std::string_view text, unsigned codePage);
std::string_view TakeCharacter(std::string_view& rest, unsigned codePage);

// The length in bytes of the longest part of `text` from its beginning that has at most `limit`
// bytes and ends with a whole character.
std::size_t WholeCharacterPrefix(std::string_view text, std::size_t limit, unsigned codePage);

// Whether `part` occurs in `text`, beginning at a whole character. The empty text always does.
bool ContainsText(std::string_view text, std::string_view part, unsigned codePage);

// The position of the last of those ASCII letters that is no second byte; npos if there is none.
std::size_t FindLastOf(std::string_view text, std::string_view letters, unsigned codePage);

}  // namespace text
