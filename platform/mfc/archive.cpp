#include "platform/mfc/archive.h"

#include <bit>

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
        value = static_cast<std::uint32_t>(platform::LittleEndian(Take(4)));
    } else {
        *m_out += platform::LittleEndianBytes(value, 4);
    }
}

void CArchive::Double(double& value) {
    if (m_loading) {
        value = std::bit_cast<double>(platform::LittleEndian(Take(8)));
    } else {
        *m_out += platform::LittleEndianBytes(std::bit_cast<std::uint64_t>(value), 8);
    }
}

void CArchive::Text(CString& value) {
    if (m_loading) {
        std::uint64_t length = platform::LittleEndian(Take(1));
        if (length == kByteLengths) {
            length = platform::LittleEndian(Take(2));
            if (length == kWideEscape) throw ArchiveError("a text of 16-bit characters");
            if (length == kWordEscape) length = platform::LittleEndian(Take(4));
        }
        value = CString(Take(static_cast<std::size_t>(length)));
        return;
    }
    const std::string& text = value.Str();
    if (text.size() < kByteLengths) {
        *m_out += platform::LittleEndianBytes(text.size(), 1);
    } else if (text.size() < kWordLengths) {
        *m_out += '\xFF' + platform::LittleEndianBytes(text.size(), 2);
    } else {
        *m_out += "\xFF\xFF\xFF" + platform::LittleEndianBytes(text.size(), 4);
    }
    *m_out += text;
}
