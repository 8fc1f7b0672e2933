#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Little-endian numbers and runs of bytes, in records of fixed places (the functions with an
// offset) and in streams (ByteReader, ByteWriter). The bytes may be of doubtful origin: nothing
// outside them is ever touched.

// The `length` bytes at `offset`; nothing if they do not lie inside.
inline std::optional<std::string_view> ReadBytes(std::string_view bytes, std::uint64_t offset,
                                                 std::uint64_t length) {
    if (offset > bytes.size() || bytes.size() - offset < length) return std::nullopt;
    return bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

// The number that up to eight bytes stand for, the lowest first.
inline std::uint64_t LittleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

inline std::optional<std::uint16_t> ReadU16(std::string_view bytes, std::uint64_t offset) {
    const auto number = ReadBytes(bytes, offset, 2);
    if (!number) return std::nullopt;
    return static_cast<std::uint16_t>(LittleEndian(*number));
}

inline std::optional<std::uint32_t> ReadU32(std::string_view bytes, std::uint64_t offset) {
    const auto number = ReadBytes(bytes, offset, 4);
    if (!number) return std::nullopt;
    return static_cast<std::uint32_t>(LittleEndian(*number));
}

// Overwrites what stands at `offset`; false, with nothing written, if the place does not lie
// inside.
inline bool WriteBytes(std::string& bytes, std::uint64_t offset, std::string_view part) {
    if (!ReadBytes(bytes, offset, part.size())) return false;
    part.copy(bytes.data() + offset, part.size());
    return true;
}

inline bool WriteU16(std::string& bytes, std::uint64_t offset, std::uint16_t value) {
    const char number[] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
    return WriteBytes(bytes, offset, {number, sizeof number});
}

inline bool WriteU32(std::string& bytes, std::uint64_t offset, std::uint32_t value) {
    const char number[] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF),
                           static_cast<char>(value >> 16 & 0xFF), static_cast<char>(value >> 24)};
    return WriteBytes(bytes, offset, {number, sizeof number});
}

// Reads one thing after the other. A read past the end gives zeros (or no bytes), consumes nothing
// and marks the reader as failed; so does every read after it. Check Failed() once, behind a whole
// record.
class ByteReader {
  public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    bool Failed() const { return m_failed; }
    std::size_t Position() const { return m_position; }
    std::size_t Remaining() const { return m_bytes.size() - m_position; }

    std::string_view Bytes(std::size_t count) {
        const auto bytes = ReadBytes(m_bytes, m_position, count);
        if (m_failed || !bytes) {
            m_failed = true;
            return {};
        }
        m_position += count;
        return *bytes;
    }
    void Skip(std::size_t count) { (void)Bytes(count); }

    std::uint8_t U8() { return static_cast<std::uint8_t>(LittleEndian(Bytes(1))); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(LittleEndian(Bytes(2))); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(LittleEndian(Bytes(4))); }
    std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
    std::uint64_t U64() { return LittleEndian(Bytes(8)); }
    double Double() { return std::bit_cast<double>(U64()); }

  private:
    std::string_view m_bytes;
    std::size_t m_position = 0;
    bool m_failed = false;
};

// Appends one thing after the other to a string.
class ByteWriter {
  public:
    explicit ByteWriter(std::string& out) : m_out(out) {}

    void Bytes(std::string_view bytes) { m_out.append(bytes); }
    void Zeros(std::size_t count) { m_out.append(count, '\0'); }
    void U8(std::uint8_t value) { Little(value, 1); }
    void U16(std::uint16_t value) { Little(value, 2); }
    void U32(std::uint32_t value) { Little(value, 4); }
    void I32(std::int32_t value) { U32(static_cast<std::uint32_t>(value)); }
    void U64(std::uint64_t value) { Little(value, 8); }
    void Double(double value) { U64(std::bit_cast<std::uint64_t>(value)); }

  private:
    void Little(std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) m_out += static_cast<char>(value >> (8 * i) & 0xFF);
    }

    std::string& m_out;
};

}  // namespace platform
