#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/vcard/card.h"

namespace host::vcard {

// Cuts the bytes of a file into logical lines: continuations joined, and quoted-printable soft
// line breaks too.
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

// Takes a logical line apart into `property` (all but its raw bytes); what is wrong with it if it
// is no property.
std::optional<std::string> ParseContentLine(std::string_view line, Property& property);

// Whether a parameter says that the value is quoted-printable: ENCODING, or as older writers have
// it, the word alone.
bool IsQuotedPrintable(const Parameter& parameter);

// The logical line of a property.
std::string FormatContentLine(const Property& property);

}  // namespace host::vcard
