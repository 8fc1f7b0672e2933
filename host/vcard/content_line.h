#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The lines of a vCard: content lines of RFC 2425 and RFC 6350 (section 3), parameter values of RFC
// 6868, and quoted-printable values as vCard 2.1 has them.
namespace host::vcard {

struct Parameter {
    std::string name;                 // upper case; empty for a bare value such as TEL;HOME
    std::vector<std::string> values;  // decoded; at least one

    // Whether it marks a quoted-printable value: ENCODING=QUOTED-PRINTABLE, or the bare word of
    // older writers.
    bool IsQuotedPrintable() const;
};

// One logical line of a vCard, as it was read, and taken apart.
struct Property {
    std::string raw;          // its bytes in the file, folds and line end included
    std::string group, name;  // name in upper case; empty for a blank line
    std::vector<Parameter> parameters;
    std::string value;  // unfolded, still escaped

    const Parameter* Find(std::string_view parameterName) const;
    // Whether a TYPE or a bare parameter has that value, in any case.
    bool HasType(std::string_view type) const;
    void RemoveParameter(std::string_view parameterName);
};

// Cuts the bytes of a file into logical lines: folded lines and quoted-printable soft line breaks
// are joined. The bytes outlive the reader.
class LineReader {
  public:
    explicit LineReader(std::string_view bytes);

    // Nothing at the end of the bytes. `raw` gets the bytes as they stand, `text` the line
    // without folds and line end.
    bool Next(std::string& raw, std::string& text);
    std::size_t LineNumber() const { return m_lineNumber; }  // of the line given last, from 1

  private:
    std::string_view TakePhysicalLine();

    std::string_view m_rest;
    std::string_view m_mark;  // a byte order mark in front of the first line
    std::size_t m_lineNumber = 0, m_linesTaken = 0;
};

// Takes a logical line apart into `property`, but for its raw bytes. Gives the reason if the line
// is no property; then `property` may be half filled.
std::optional<std::string> ParseContentLine(std::string_view line, Property& property);

// The logical line of a property.
std::string FormatContentLine(const Property& property);

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
