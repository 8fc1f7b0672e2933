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

// Finds a value in a registry file in Wine's text format, also in a damaged one, as Wine 8 reads
// it. Keys and names match in any case; the empty name is the key's default value. The lines of a
// key may stand in several places. Of several lines for one value the last counts; if its data are
// damaged there is no value. Each call reads the text once.
std::optional<RegistryValue> FindValue(std::string_view text, std::u16string_view key,
                                       std::u16string_view name);

// The text with a value of type kText or kNumber set. The data of the line that counts are
// replaced; a new value goes behind the last line of its key, a new key, stamped with `now`, to the
// end. Every other byte stays.
std::string WithValue(std::string_view text, std::u16string_view key, std::u16string_view name,
                      const RegistryValue& value, std::chrono::system_clock::time_point now);

// The text of a file without keys; `machine` for system.reg, else for user.reg.
std::string EmptyRegistry(bool machine, bool is64Bit);

// Whether the file belongs to a prefix of 64 bits, where 32-bit programs have a node of their own.
bool Is64Bit(std::string_view text);

}  // namespace platform::prefix
