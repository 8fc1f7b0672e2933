#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace platform::prefix {

// A registry value: its Windows type number and its bytes (texts in UTF-16, numbers
// little-endian).
struct RegistryValue {
    static constexpr unsigned kText = 1, kExpandText = 2, kNumber = 4, kTexts = 7;

    unsigned type = 0;
    std::string data;
    bool operator==(const RegistryValue&) const = default;
};

// Registry files in Wine's text format, damaged ones included, as Wine 8 takes them: keys and
// names are matched without regard to case, a key's lines may stand in several places, and of
// several lines for one value the last counts, even if its data are damaged and give nothing. Each
// call streams over the text. The empty name is the key's default value.
std::optional<RegistryValue> FindValue(std::string_view text, std::u16string_view key,
                                       std::u16string_view name);

// The text with that value set (of type kText or kNumber). Every other byte stays as it is: the
// data of the line that counts are exchanged, a new value is put behind the last line of its key,
// and a new key, stamped with `now`, behind the end.
std::string WithValue(std::string_view text, std::u16string_view key, std::u16string_view name,
                      const RegistryValue& value, std::chrono::system_clock::time_point now);

// What a file without content begins with. `machine` tells the file of the machine from the
// user's.
std::string EmptyRegistry(bool machine, bool is64Bit);

// Whether the file belongs to a prefix of 64 bits, where 32-bit programs have a node of their own.
bool Is64Bit(std::string_view text);

}  // namespace platform::prefix
