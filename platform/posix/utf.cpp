#include "platform/posix/utf.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

namespace platform::posix {

namespace {

constexpr bool IsSurrogate(char32_t character, char32_t first) {
    return character >= first && character < first + 0x400;
}

// Null where the system has no such locale.
locale_t Unicode() {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return unicode;
}

std::u32string Folded(std::string_view text) {
    std::u32string folded;
    while (!text.empty()) folded += FoldCase(TakeUtf8(text));
    return folded;
}

}  // namespace

char32_t TakeUtf8(std::string_view& rest) {
    const auto lead = static_cast<unsigned char>(rest.front());
    const auto fail = [&] {
        rest.remove_prefix(1);
        return kNoCharacter;
    };
    if (lead < 0x80) {
        rest.remove_prefix(1);
        return lead;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || rest.size() < length) return fail();
    char32_t character = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(rest[i]);
        if ((byte & 0xC0) != 0x80) return fail();
        character = character << 6 | (byte & 0x3F);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isForbidden = character < kLeast[length] || character > 0x10FFFF ||
                             (character >= 0xD800 && character < 0xE000);
    if (isForbidden) return fail();
    rest.remove_prefix(length);
    return character;
}

void AppendUtf8(char32_t character, std::string& out) {
    const auto byte = [&](char32_t bits) { out += static_cast<char>(bits); };
    if (character < 0x80) {
        byte(character);
    } else if (character < 0x800) {
        byte(0xC0 | character >> 6);
        byte(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        byte(0xE0 | character >> 12);
        byte(0x80 | (character >> 6 & 0x3F));
        byte(0x80 | (character & 0x3F));
    } else {
        byte(0xF0 | character >> 18);
        byte(0x80 | (character >> 12 & 0x3F));
        byte(0x80 | (character >> 6 & 0x3F));
        byte(0x80 | (character & 0x3F));
    }
}

char32_t TakeUtf16(std::u16string_view& rest) {
    const char32_t first = rest.front();
    rest.remove_prefix(1);
    if (!IsSurrogate(first, 0xD800) || rest.empty() || !IsSurrogate(rest.front(), 0xDC00)) {
        return first;
    }
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

char32_t FoldCase(char32_t character) {
    if (character < 0x80) {
        return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character;
    }
    if (Unicode() == nullptr || character == kNoCharacter) return character;
    return static_cast<char32_t>(towlower_l(static_cast<wint_t>(character), Unicode()));
}

char32_t RaiseCase(char32_t character) {
    if (character < 0x80) {
        return character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character;
    }
    if (Unicode() == nullptr || character == kNoCharacter) return character;
    return static_cast<char32_t>(towupper_l(static_cast<wint_t>(character), Unicode()));
}

bool EqualFolded(std::string_view a, std::string_view b) {
    while (!a.empty() && !b.empty()) {
        const char firstA = a.front(), firstB = b.front();
        const char32_t characterA = TakeUtf8(a), characterB = TakeUtf8(b);
        if (FoldCase(characterA) != FoldCase(characterB)) return false;
        if (characterA == kNoCharacter && firstA != firstB) return false;
    }
    return a.empty() && b.empty();
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    if (pattern == "*.*" || pattern == "*") return true;
    const std::u32string text = Folded(name), mask = Folded(pattern);
    std::size_t t = 0, m = 0, star = std::u32string::npos, resume = 0;
    while (t < text.size()) {
        if (m < mask.size() && mask[m] == '*') {
            star = m++;
            resume = t;
        } else if (m < mask.size() && (mask[m] == '?' || mask[m] == text[t])) {
            ++m;
            ++t;
        } else if (star != std::u32string::npos) {
            m = star + 1;
            t = ++resume;
        } else {
            return false;
        }
    }
    return mask.find_first_not_of(U'*', m) == std::u32string::npos;
}

}  // namespace platform::posix
