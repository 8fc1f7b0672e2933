#pragma once

#include <string_view>

// Characters of one or two bytes in Windows code pages, which have Microsoft's numbers. A lead byte
// and any byte behind it are one character; a lead byte at the end of a text is one by itself.
namespace text {

// Whether `byte` opens a double-byte character of the code page (932, 936, 949, 950, 1361).
bool IsLeadByte(char byte, unsigned codePage);

// The number of bytes of the first character of `text`, which is not empty.
std::size_t CharacterLength(std::string_view text, unsigned codePage);
std::string_view TakeCharacter(std::string_view& rest, unsigned codePage);

// The number of bytes of the longest prefix of `text` that has whole characters and at most `limit`
// bytes.
std::size_t WholeCharacterPrefix(std::string_view text, std::size_t limit, unsigned codePage);

// Whether `part` occurs in `text`, beginning at a whole character. The empty text always does.
bool ContainsText(std::string_view text, std::string_view part, unsigned codePage);

// The position of the last of those ASCII letters, second bytes left out; npos if there is none.
std::size_t FindLastOf(std::string_view text, std::string_view letters, unsigned codePage);

}  // namespace text
