#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "frame/interface/field_ids.h"
#include "frame/string_id.h"

namespace addressbook {

// Values of fields between the host and the nickname file. Texts are in the system code page.

inline constexpr int kNicknameLimit = 27;  // bytes to be stored without a warning

// A value as the file holds it: each line end (CR, LF or a pair of them) becomes one byte 0x03, "<"
// and ">" become blanks. A value for a field of one line is cut behind its first LF, or behind its
// first CR if it has no LF.
std::string FieldText(ContactField field, std::string_view value);
// A value for the host: each byte 0x03 becomes CR LF.
std::string ExpandLineBreaks(std::string_view text);

// The part of a host's nickname that a record takes: at most 27 characters of one or two bytes, and
// no more of them than fit the record.
std::string_view CutNickname(std::string_view text, unsigned codePage);
// A nickname made of the name, for a record without one.
std::string NicknameOfName(std::string name, unsigned codePage);

// The text that tells the first fault of a value for that field: kNoLetterOrDigit of a name that is
// empty or punctuation alone, kInvalidNickname of a nickname with a comma, kNicknameTooLong of one
// that will be cut, kAngleBracket. Nothing for a sound value.
std::optional<frame::StringId> FaultOf(ContactField field, std::string_view value);

}  // namespace addressbook
