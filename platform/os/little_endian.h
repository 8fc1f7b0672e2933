#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

// Little-endian numbers in bytes of doubtful origin: nothing if they do not lie inside.
inline std::optional<std::uint16_t> ReadU16(std::string_view bytes, std::uint64_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < 2) return std::nullopt;
    const auto at = [&](std::uint64_t i) { return static_cast<unsigned char>(bytes[i]); };
    return static_cast<std::uint16_t>(at(offset) | at(offset + 1) << 8);
}

inline std::optional<std::uint32_t> ReadU32(std::string_view bytes, std::uint64_t offset) {
    const auto low = ReadU16(bytes, offset);
    const auto high = ReadU16(bytes, offset + 2);
    if (!low || !high) return std::nullopt;
    return std::uint32_t{*low} | std::uint32_t{*high} << 16;
}

// The `length` bytes at `offset`; nothing if they do not lie inside.
inline std::optional<std::string_view> ReadBytes(std::string_view bytes, std::uint64_t offset,
                                                 std::uint64_t length) {
    if (offset > bytes.size() || bytes.size() - offset < length) return std::nullopt;
    return bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

}  // namespace platform
