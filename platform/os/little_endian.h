#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Little-endian numbers and runs of bytes in records. Offsets and lengths are bytes and may be any
// numbers, as they come from files: nothing outside `bytes` is ever touched.

// The `length` bytes at `offset`; nothing if they do not lie inside.
inline std::optional<std::string_view> ReadBytes(std::string_view bytes, std::uint64_t offset,
                                                 std::uint64_t length) {
    if (offset > bytes.size() || bytes.size() - offset < length) return std::nullopt;
    return bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

// The number that up to eight bytes stand for.
inline std::uint64_t LittleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

// The lowest `width` bytes of a number.
inline std::string LittleEndianBytes(std::uint64_t value, std::size_t width) {
    std::string bytes(width, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(value & 0xFF);
        value >>= 8;
    }
    return bytes;
}

// The number at `offset`; nothing if it does not lie inside. Inline, because tables of mails are
// read with it number by number.
template <class Number>
inline std::optional<Number> ReadNumber(std::string_view bytes, std::uint64_t offset) {
    const auto number = ReadBytes(bytes, offset, sizeof(Number));
    if (!number) return std::nullopt;
    return static_cast<Number>(LittleEndian(*number));
}
inline std::optional<std::uint16_t> ReadU16(std::string_view bytes, std::uint64_t offset) {
    return ReadNumber<std::uint16_t>(bytes, offset);
}
inline std::optional<std::uint32_t> ReadU32(std::string_view bytes, std::uint64_t offset) {
    return ReadNumber<std::uint32_t>(bytes, offset);
}

// Overwrites the number at `offset`; false, with nothing written, if the place does not lie inside.
template <class Number>
bool WriteNumber(std::string& bytes, std::uint64_t offset, Number value) {
    if (!ReadNumber<Number>(bytes, offset)) return false;
    LittleEndianBytes(value, sizeof value).copy(bytes.data() + offset, sizeof value);
    return true;
}

}  // namespace platform
