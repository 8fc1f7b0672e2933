#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Conversion of text between code pages, charsets and Unicode. Code pages have Microsoft's numbers
// (1252, 932, ...; 65001 is UTF-8), charsets their Internet names.
namespace platform {

// Conversion as Windows does it, but without best fits: no character is replaced by one that only
// looks alike. A byte 0x80 to 0x9F without a character becomes the control character of the same
// number and back, so every text of 1252 survives a round trip. An unknown code page counts as
// 1252.

// Whether the system has the code page.
bool IsKnownCodePage(unsigned codePage);

// Bytes that are no character of the code page become U+FFFD.
std::string ToUtf8(std::string_view text, unsigned codePage);

// A character that the code page lacks, and a byte that is no UTF-8, becomes "?"; `lossy`, if
// given, says whether there was one.
std::string FromUtf8(std::string_view text, unsigned codePage, bool* lossy = nullptr);

// The text with each letter of any language in upper case. A letter stays if the code page lacks
// its upper case, and so do bytes that are no character.
std::string UpperCase(std::string_view text, unsigned codePage);

// Text of a charset, named as in mails ("koi8-r", in any case), as UTF-8; bytes that are no
// character become U+FFFD. Nothing if the system does not know the charset.
std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset);

// UTF-8 in the encoding that the user's locale names for the terminal and for pipes; a character
// that it lacks becomes a likeness or "?". UTF-8 stays where the locale names none ("C"), and on
// Windows.
std::string InLocale(std::string_view utf8);
bool IsLocaleUtf8();

// Between a code page and UTF-16; what is no character becomes U+FFFD in UTF-16 and "?" in the code
// page.
std::u16string ToUtf16(std::string_view text, unsigned codePage);
std::string FromUtf16(std::u16string_view text, unsigned codePage);

// The system's mapping of single characters of a code page other than UTF-8; each system implements
// it, and the functions above use it. An unknown code page counts as 1252.
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
