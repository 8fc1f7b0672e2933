#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Reads little-endian numbers and runs of bytes. A read past the end gives zeros (or no bytes),
// consumes nothing and marks the reader as failed; so does every read after it. Check Failed()
// once, behind a whole record.
class ByteReader {
  public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    bool Failed() const { return m_failed; }
    std::size_t Position() const { return m_position; }
    std::size_t Remaining() const { return m_bytes.size() - m_position; }

    std::string_view Bytes(std::size_t count) {
        if (m_failed || count > Remaining()) {
            m_failed = true;
            return {};
        }
        const auto bytes = m_bytes.substr(m_position, count);
        m_position += count;
        return bytes;
    }
    void Skip(std::size_t count) { (void)Bytes(count); }

    std::uint8_t U8() { return static_cast<std::uint8_t>(Little(1)); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(Little(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Little(4)); }
    std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
    std::uint64_t U64() { return Little(8); }
    double Double() { return std::bit_cast<double>(U64()); }

  private:
    std::uint64_t Little(std::size_t width) {
        const auto bytes = Bytes(width);
        std::uint64_t value = 0;
        for (std::size_t i = bytes.size(); i-- > 0;) {
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        }
        return value;
    }

    std::string_view m_bytes;
    std::size_t m_position = 0;
    bool m_failed = false;
};

// Appends little-endian numbers and runs of bytes to a string.
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
