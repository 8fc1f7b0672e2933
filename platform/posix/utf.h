#pragma once

#include <string>
#include <string_view>

namespace platform::posix {

constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Takes the first character off `rest`. kNoCharacter, and one byte taken, if the text does not
// begin with a well-formed character.
char32_t TakeUtf8(std::string_view& rest);
void AppendUtf8(char32_t character, std::string& out);

// An unpaired surrogate is taken as it stands.
char32_t TakeUtf16(std::u16string_view& rest);
void AppendUtf16(char32_t character, std::u16string& out);

// UTF-16 in little-endian bytes; a last odd byte is dropped.
std::u16string Utf16FromBytes(std::string_view bytes);
std::string BytesFromUtf16(std::u16string_view text);

// Lower and upper case of one character, whatever the locale of the process.
char32_t FoldCase(char32_t character);
char32_t RaiseCase(char32_t character);
// Whether two UTF-8 texts are equal but for case.
bool EqualFolded(std::string_view a, std::string_view b);
// Whether a name matches a pattern with * and ? (one character), without regard to case. As on
// Windows, *.* matches every name.
bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace platform::posix
