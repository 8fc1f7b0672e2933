#include "platform/prefix/registry_escape.h"

#include <cstdio>

#include "text/ascii.h"
#include "text/utf.h"

namespace platform::prefix {

namespace {

constexpr std::string_view kLetters = "abefnrtv";
constexpr std::string_view kLetterValues = "\a\b\x1B\f\n\r\t\v";

// Takes up to `most` digits of a base that is a power of two; nothing if there is none.
std::optional<char16_t> TakeNumber(std::string_view& rest, std::size_t most, int base) {
    unsigned number = 0;
    std::size_t count = 0;
    while (count < most && count < rest.size()) {
        const int digit = text::HexValue(rest[count]);
        if (digit < 0 || digit >= base) break;
        number = number * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        ++count;
    }
    if (count == 0) return std::nullopt;
    rest.remove_prefix(count);
    return static_cast<char16_t>(number);
}

// What stands behind a backslash.
char16_t TakeEscape(std::string_view& rest) {
    if (const auto octal = TakeNumber(rest, 3, 8)) return *octal;
    const char letter = rest.front();
    rest.remove_prefix(1);
    if (letter == 'x') return TakeNumber(rest, 4, 16).value_or(u'x');
    const auto found = kLetters.find(letter);
    if (found != std::string_view::npos) return static_cast<char16_t>(kLetterValues[found]);
    return static_cast<unsigned char>(letter);
}

// A number escape is written in full where the next character would be taken for one of its
// digits.
std::string HexEscape(char16_t unit, bool beforeDigit) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, beforeDigit ? "\\x%04x" : "\\x%x", unsigned{unit});
    return buffer;
}

}  // namespace

std::optional<std::u16string> TakeEscaped(std::string_view& rest, char end) {
    std::u16string text;
    while (!rest.empty()) {
        const char letter = rest.front();
        if (static_cast<unsigned char>(letter) >= 0x80) {
            const char32_t character = text::TakeUtf8(rest);
            if (character != text::kNoCharacter) text::AppendUtf16(character, text);
            continue;
        }
        rest.remove_prefix(1);
        if (letter == end) return text;
        if (letter == '\\' && !rest.empty()) {
            text += TakeEscape(rest);
        } else {
            text += static_cast<char16_t>(letter);
        }
    }
    return std::nullopt;
}

std::string Escape(std::u16string_view text, bool isKey) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const char letter = unit < 0x7F ? static_cast<char>(unit) : '\x7F';
        const bool beforeDigit = i + 1 < text.size() && text[i + 1] < 0x80 &&
                                 text::HexValue(static_cast<char>(text[i + 1])) >= 0;
        const auto named = kLetterValues.find(letter);
        if (letter == '\\' || (isKey && (letter == '[' || letter == ']')) ||
            (!isKey && letter == '"')) {
            out += {'\\', letter};
        } else if (named != std::string_view::npos) {
            out += {'\\', kLetters[named]};
        } else if (letter == '\x7F' || letter < ' ') {
            out += HexEscape(unit, beforeDigit);
        } else {
            out += letter;
        }
    }
    return out;
}

}  // namespace platform::prefix
