#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::vcard {

// The text forms inside a vCard line.

// Backslash escapes of a text value: \\ \, \; and \n for a line end.
std::string EscapeText(std::string_view text);
// The reverse; a backslash in front of any other character stays.
std::string UnescapeText(std::string_view text);
// The pieces between separators that no backslash escapes; still escaped. Never empty.
std::vector<std::string> SplitEscaped(std::string_view text, char separator);

// A parameter value as it stands in a line: quoted where it must be, with ^n ^^ ^' inside.
std::string EncodeParameter(std::string_view text);
// The reverse, without the quotes.
std::string DecodeParameter(std::string_view text);

// Quoted-printable bytes; what is no valid sequence stays as it is.
std::string DecodeQuotedPrintable(std::string_view text);

// A logical line cut into lines of at most 75 bytes, never inside a character, each with the line
// end; continuations begin with a blank.
std::string Fold(std::string_view line, std::string_view lineEnd);

}  // namespace host::vcard
