#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/prefix/registry_text.h"

// The lines of a registry file in Wine's text format. Offsets are bytes from the beginning of the
// text.
namespace platform::prefix {

// A line of a registry file, without its line end. As in Wine, its content begins behind leading
// blanks and ends at a zero byte.
struct RegistryLine {
    std::size_t begin = 0, end = 0, next = 0;

    std::string_view In(std::string_view text) const;
};

// The line that begins at `begin`, which lies before the end of the text.
RegistryLine LineAt(std::string_view text, std::size_t begin);

// A key's name without leading, trailing and doubled backslashes, which Wine ignores.
std::u16string PlainKey(std::u16string_view key);
// The key, in that form, of a line that opens one. Nothing if the line is damaged.
std::optional<std::u16string> ParseKeyLine(std::string_view line);

struct ValueLine {
    std::u16string name;
    std::optional<RegistryValue> value;  // nothing if the data are damaged
    std::size_t dataBegin = 0, dataEnd = 0, next = 0;
    bool isOpen = false;  // it ends in a backslash, but the text has no further line
};

// The value that begins at `line`. Data in hex that end in a backslash go on in the next line,
// whatever that holds. Nothing if the line names no value.
std::optional<ValueLine> ReadValueLine(std::string_view text, RegistryLine line);
// Takes an escaped text and the character `end` behind it off `rest`. Bytes that are not ASCII are
// read as UTF-8, invalid ones are dropped. Nothing without an end.
std::optional<std::u16string> TakeEscaped(std::string_view& rest, char end);
// Writes a value's text, or, with `isKey`, that of a key line: ASCII, with \\, \", \n and the like,
// and \xNNNN for the UTF-16 units of everything else.
std::string Escape(std::u16string_view text, bool isKey);
// The data of a value of type kText or kNumber, as a line has them.
std::string FormatData(const RegistryValue& value);

bool EqualFolded(std::u16string_view a, std::u16string_view b);

}  // namespace platform::prefix
