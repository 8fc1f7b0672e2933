#include "host/shell/byte_text.h"

namespace host::shell {

std::string JsonTextFromBytes(std::string_view bytes) {
    std::string utf8;
    utf8.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x80) {
            utf8 += byte;
        } else {
            utf8 += static_cast<char>(0xC0 | (value >> 6));
            utf8 += static_cast<char>(0x80 | (value & 0x3F));
        }
    }
    return utf8;
}

std::optional<std::string> BytesFromJsonText(std::string_view utf8) {
    std::string bytes;
    bytes.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            bytes += utf8[i];
            continue;
        }
        // Only two-byte characters with these leads lie in U+0080 to U+00FF.
        if ((lead != 0xC2 && lead != 0xC3) || i + 1 == utf8.size()) return std::nullopt;
        const auto trail = static_cast<unsigned char>(utf8[++i]);
        if ((trail & 0xC0) != 0x80) return std::nullopt;
        bytes += static_cast<char>(((lead & 0x03) << 6) | (trail & 0x3F));
    }
    return bytes;
}

}  // namespace host::shell
