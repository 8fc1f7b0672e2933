#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::prefix {

// Texts as Wine's registry files write them: ASCII, with \\, \", \n and the like, and \xNNNN for
// the UTF-16 units of everything else. Bytes that are not ASCII are read as UTF-8; where they
// are none they are dropped.

// Takes a text and the `end` character behind it off `rest`, which begins with the text. Nothing
// if there is no end.
std::optional<std::u16string> TakeEscaped(std::string_view& rest, char end);

// Writes a value's text, or, with `isKey`, that of a key line.
std::string Escape(std::u16string_view text, bool isKey);

}  // namespace platform::prefix
