#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace platform::posix {

// A registry value: its Windows type number and its bytes (texts in UTF-16, numbers
// little-endian).
struct RegistryValue {
    static constexpr unsigned kText = 1, kExpandText = 2, kNumber = 4;

    unsigned type = 0;
    std::string data;
    bool operator==(const RegistryValue&) const = default;
};

// Registry files in Wine's text format. Each call streams over the text; lines that make no sense
// are passed over. Keys and names are matched without regard to case; of several lines for one
// value the last counts. The empty name is the key's default value.
std::optional<RegistryValue> FindValue(std::string_view text, std::u16string_view key,
                                       std::u16string_view name);

// The text with that value set (of type kText or kNumber). Every other byte stays as it is: the
// data of an existing value are exchanged, a new value is put behind the last line of its key, and
// a new key, stamped with `now`, behind the end.
std::string WithValue(std::string_view text, std::u16string_view key, std::u16string_view name,
                      const RegistryValue& value, std::chrono::system_clock::time_point now);

// What a file without content begins with. `machine` tells the file of the machine from the
// user's.
std::string EmptyRegistry(bool machine, bool is64Bit);

// Whether the file belongs to a prefix of 64 bits, where 32-bit programs have a node of their own.
bool Is64Bit(std::string_view text);

}  // namespace platform::posix
