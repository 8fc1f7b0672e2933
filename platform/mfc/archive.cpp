#include "platform/mfc/archive.h"

#include "platform/os/little_endian.h"

namespace {

constexpr std::size_t kByteLengths = 0xFF;     // lengths below have one byte
constexpr std::size_t kWordLengths = 0xFFFE;   // lengths below have two bytes behind an escape
constexpr std::uint16_t kWordEscape = 0xFFFF;  // four bytes follow
constexpr std::uint16_t kWideEscape = 0xFFFE;  // opens a text of 16-bit characters

}  // namespace

std::string_view CArchive::Take(std::size_t count) {
    if (count > m_bytes.size()) throw ArchiveError("the data end early");
    const auto taken = m_bytes.substr(0, count);
    m_bytes.remove_prefix(count);
    return taken;
}

void CArchive::Number(std::int32_t& value) {
    auto bits = static_cast<std::uint32_t>(value);
    Number(bits);
    value = static_cast<std::int32_t>(bits);
}

void CArchive::Number(std::uint32_t& value) {
    if (m_loading) {
        value = platform::ByteReader(Take(4)).U32();
    } else {
        platform::ByteWriter(*m_out).U32(value);
    }
}

void CArchive::Double(double& value) {
    if (m_loading) {
        value = platform::ByteReader(Take(8)).Double();
    } else {
        platform::ByteWriter(*m_out).Double(value);
    }
}

void CArchive::Text(CString& value) {
    if (m_loading) {
        std::size_t length = platform::ByteReader(Take(1)).U8();
        if (length == kByteLengths) {
            length = platform::ByteReader(Take(2)).U16();
            if (length == kWideEscape) throw ArchiveError("a text of 16-bit characters");
            if (length == kWordEscape) length = platform::ByteReader(Take(4)).U32();
        }
        value = CString(Take(length));
        return;
    }
    const std::string& text = value.Str();
    platform::ByteWriter out(*m_out);
    if (text.size() < kByteLengths) {
        out.U8(static_cast<std::uint8_t>(text.size()));
    } else {
        out.U8(0xFF);
        if (text.size() < kWordLengths) {
            out.U16(static_cast<std::uint16_t>(text.size()));
        } else {
            out.U16(kWordEscape);
            out.U32(static_cast<std::uint32_t>(text.size()));
        }
    }
    out.Bytes(text);
}
