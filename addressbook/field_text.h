#pragma once

#include <string>
#include <string_view>

namespace addressbook {

enum class CopyMode { kFirstLine, kWhole };

// Copies a field value as the file can hold it: each line end (CR, LF or a pair of them) becomes
// one byte 0x03, "<" and ">" become blanks. With kFirstLine the copy ends behind the first LF, or
// behind the first CR of a text without LF. An empty source leaves the target as it is.
void CopyFieldText(std::string& target, std::string_view source, CopyMode mode);

// The longest beginning of whole characters that a nickname from the host may have: 27 characters
// of one or two bytes, as many of them as fit the record.
std::string_view CutNickname(std::string_view text, unsigned codePage);

// Each byte 0x03 becomes CR LF.
std::string ExpandLineBreaks(std::string_view text);

enum class CheckMode { kAny = 0, kNickname = 4, kName = 5 };

inline constexpr int kHasComma = 1;
inline constexpr int kHasGreater = 2;
inline constexpr int kHasLess = 4;
inline constexpr int kHasCr = 8;
inline constexpr int kHasLf = 16;
inline constexpr int kTooLong = 32;
inline constexpr int kEmptyValue = 0x40;
inline constexpr int kNoName = -1;  // of a name: empty, or punctuation alone
inline constexpr int kNicknameLimit = 27;

// What is the matter with a value: a set of the bits above, or kNoName. A nickname that has a comma
// or is too long gets that bit alone.
int CheckFieldValue(std::string_view text, CheckMode mode);

}  // namespace addressbook
