#pragma once

#include <string>
#include <string_view>

namespace text {

constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Takes the first character off `rest`. kNoCharacter, and one byte taken, if the text does not
// begin with a well-formed character.
char32_t TakeUtf8(std::string_view& rest);
bool IsUtf8(std::string_view text);
void AppendUtf8(char32_t character, std::string& out);

// An unpaired surrogate is taken as it stands.
char32_t TakeUtf16(std::u16string_view& rest);
void AppendUtf16(char32_t character, std::u16string& out);

// UTF-16 in little-endian bytes; a last odd byte is dropped.
std::u16string Utf16FromBytes(std::string_view bytes);
std::string BytesFromUtf16(std::u16string_view text);

}  // namespace text
