#include "text/utf.h"

namespace text {

char32_t TakeUtf8(std::string_view& rest) {
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(rest.front());
    const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t character = length == 1 ? lead : lead & (0xFFu >> (length + 1));
    bool isWhole = length == 1 || (lead >= 0xC2 && lead <= 0xF4 && rest.size() >= length);
    for (std::size_t i = 1; isWhole && i < length; ++i) {
        isWhole = IsContinuation(rest[i]);
        character = character << 6 | (rest[i] & 0x3F);
    }
    isWhole = isWhole && character >= kLeast[length] && character <= 0x10FFFF &&
              (character < 0xD800 || character > 0xDFFF);
    rest.remove_prefix(isWhole ? length : 1);
    return isWhole ? character : kNoCharacter;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        if (TakeUtf8(text) == kNoCharacter) return false;
    }
    return true;
}

void AppendUtf8(char32_t character, std::string& out) {
    if (character < 0x80) {
        out += static_cast<char>(character);
        return;
    }
    int shift = character < 0x800 ? 6 : character < 0x10000 ? 12 : 18;
    constexpr char32_t kMarks[] = {0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kMarks[shift / 6 - 1] | character >> shift);
    for (shift -= 6; shift >= 0; shift -= 6) {
        out += static_cast<char>(0x80 | (character >> shift & 0x3F));
    }
}

char32_t TakeUtf16(std::u16string_view& rest) {
    const char32_t first = rest.front();
    rest.remove_prefix(1);
    const bool isPair =
        (first & 0xFC00) == 0xD800 && !rest.empty() && (rest.front() & 0xFC00) == 0xDC00;
    if (!isPair) return first;
    const char32_t second = rest.front();
    rest.remove_prefix(1);
    return 0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF));
}

void AppendUtf16(char32_t character, std::u16string& out) {
    if (character < 0x10000) {
        out += static_cast<char16_t>(character);
    } else {
        out += static_cast<char16_t>(0xD7C0 + (character >> 10));
        out += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    }
}

std::u16string Utf16FromBytes(std::string_view bytes) {
    std::u16string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                      static_cast<unsigned char>(bytes[i + 1]) << 8);
    }
    return text;
}

std::string BytesFromUtf16(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

}  // namespace text
