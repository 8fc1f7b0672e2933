#pragma once

#include <string>
#include <string_view>

#include "frame/interface/field_ids.h"

namespace addressbook {

// What becomes of the values that a host sets and asks for, in the system code page.

inline constexpr int kNicknameLimit = 27;  // bytes to be stored without a warning

// A value as the file can hold it: each line end (CR, LF or a pair of them) becomes one byte 0x03,
// "<" and ">" become blanks. That of a field of one line ends behind the first LF, or behind the
// first CR of a value without LF.
std::string FieldText(ContactField field, std::string_view value);
// Each byte 0x03 becomes CR LF.
std::string ExpandLineBreaks(std::string_view text);

// The longest beginning of whole characters that a nickname from the host may have: 27 characters
// of one or two bytes, as many of them as fit the record.
std::string_view CutNickname(std::string_view text, unsigned codePage);
// The nickname of a record that has only a name.
std::string NicknameOfName(std::string name, unsigned codePage);

// What is the matter with a value of that field; the first of these that holds.
enum class ValueFault {
    kNone,
    kNoLetter,  // of a name: empty, or punctuation alone
    kComma,     // of a nickname
    kTooLong,   // of a nickname
    kAngleBracket
};
ValueFault FaultOf(ContactField field, std::string_view value);

}  // namespace addressbook
