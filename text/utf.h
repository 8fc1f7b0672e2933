#pragma once

#include <string>
#include <string_view>

// UTF-8 and UTF-16, character by character.
namespace text {

inline constexpr unsigned kUtf8 = 65001;  // Microsoft's code page number
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Whether the byte continues a character of UTF-8.
constexpr bool IsContinuation(char byte) {
    return (byte & 0xC0) == 0x80;
}
bool IsUtf8(std::string_view text);

// Takes the first character off `rest`. kNoCharacter, and one byte taken, if the text does not
// begin with a well-formed character (RFC 3629).
char32_t TakeUtf8(std::string_view& rest);
void AppendUtf8(char32_t character, std::string& out);

// Takes the first character off `rest`, which is not empty. An unpaired surrogate is one.
char32_t TakeUtf16(std::u16string_view& rest);
void AppendUtf16(char32_t character, std::u16string& out);

// UTF-16 in little-endian bytes; a last odd byte is dropped.
std::u16string Utf16FromBytes(std::string_view bytes);
std::string BytesFromUtf16(std::u16string_view text);

}  // namespace text
