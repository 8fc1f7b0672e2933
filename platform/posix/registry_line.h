#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/registry_text.h"

namespace platform::posix {

// One logical line of a registry file: data in hex may run over several physical ones. Offsets
// count from the beginning of the text; the line end is not part of the line.
struct RegistryLine {
    std::size_t begin = 0, end = 0, next = 0;

    std::string_view In(std::string_view text) const { return text.substr(begin, end - begin); }
};

// The line that begins at `begin`, which lies before the end of the text.
RegistryLine LineAt(std::string_view text, std::size_t begin);

// The key of a line that opens one. Nothing if the line is damaged.
std::optional<std::u16string> ParseKeyLine(std::string_view line);

// The name of a value line; `rest` is left with what stands behind the "=".
std::optional<std::u16string> TakeValueName(std::string_view& rest);
std::optional<RegistryValue> ParseData(std::string_view data);
// The data of a text or a number.
std::string FormatData(const RegistryValue& value);

bool EqualFolded(std::u16string_view a, std::u16string_view b);

}  // namespace platform::posix
