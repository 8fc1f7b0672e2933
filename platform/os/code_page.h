#pragma once

#include <functional>
#include <optional>
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

// Text of a charset by its Internet name ("koi8-r", in any case), as mail programs mean it, as
// UTF-8; what is no character becomes U+FFFD. Nothing if the name says nothing or the system does
// not know it.
std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset);

// The same text in UTF-16; what is no character becomes U+FFFD there, and "?" here.
std::u16string ToUtf16(std::string_view text, unsigned codePage);
std::string FromUtf16(std::u16string_view text, unsigned codePage);

// How the system maps the characters of a code page but UTF-8, one at a time: what all of the
// above is made of. An unknown code page counts as 1252.
struct CharacterCodes {
    // Of one or two bytes; text::kNoCharacter if they are none.
    std::function<char32_t(const std::string& bytes)> decode;
    // Empty if the code page lacks the character.
    std::function<std::string(char32_t character)> encode;
};
CharacterCodes CodesOf(unsigned codePage);
// The character in upper case, whatever the locale of the process.
char32_t RaiseCase(char32_t character);

}  // namespace platform
