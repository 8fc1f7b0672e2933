#include "platform/prefix/registry_line.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "platform/os/little_endian.h"
#include "platform/posix/character_case.h"
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

// The character of an escape, whose backslash has been taken off `rest`.
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

constexpr std::string_view kBlanks = " \t\n\v\f\r";

void SkipBlanks(std::string_view& rest) {
    rest = text::TrimmedFront(rest, kBlanks);
}

bool Skip(std::string_view& rest, std::string_view prefix) {
    if (!rest.starts_with(prefix)) return false;
    rest.remove_prefix(prefix.size());
    return true;
}

bool BeginsWithHexDigit(std::string_view rest) {
    return !rest.empty() && text::HexValue(rest.front()) >= 0;
}

// A number in hex, with "0x" or without. Where there is none it is 0, and one that is too large is
// the largest.
std::uint64_t TakeHex(std::string_view& rest) {
    std::string_view digits = rest;
    const bool isMarked = Skip(digits, "0x") || Skip(digits, "0X");
    if (isMarked && BeginsWithHexDigit(digits)) rest = digits;
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number, 16);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return error == std::errc::result_out_of_range ? ~std::uint64_t{0} : number;
}

// Takes the name of a value off `rest`, and what stands before its data.
std::optional<std::u16string> TakeValueName(std::string_view& rest) {
    std::optional<std::u16string> name;
    if (Skip(rest, "@")) {
        name.emplace();
    } else if (Skip(rest, "\"")) {
        name = TakeEscaped(rest, '"');
    }
    SkipBlanks(rest);
    if (!name || !Skip(rest, "=")) return std::nullopt;
    SkipBlanks(rest);
    return name;
}

// Takes "hex:" or "hex(N):" off `rest`, N being the type in hex.
std::optional<unsigned> TakeHexType(std::string_view& rest) {
    constexpr unsigned kBinary = 3;
    if (Skip(rest, "hex:")) return kBinary;
    if (!Skip(rest, "hex(")) return std::nullopt;
    const auto type = TakeHex(rest);
    if (!Skip(rest, "):")) return std::nullopt;
    return static_cast<unsigned>(type);
}

enum class HexEnd { kWhole, kGoesOn, kDamaged };

// Appends the bytes of one line of data in hex.
HexEnd AppendHexLine(std::string_view rest, std::string& bytes) {
    while (BeginsWithHexDigit(rest)) {
        const auto number = TakeHex(rest);
        if (number > 0xFF) return HexEnd::kDamaged;
        bytes += static_cast<char>(number);
        SkipBlanks(rest);
        Skip(rest, ",");
        SkipBlanks(rest);
    }
    if (rest.empty()) return HexEnd::kWhole;
    return rest.front() == '\\' ? HexEnd::kGoesOn : HexEnd::kDamaged;
}

// Data that stand on one line. What follows them there means nothing.
std::optional<RegistryValue> ParseData(std::string_view rest) {
    if (Skip(rest, "dword:")) {
        SkipBlanks(rest);
        return RegistryValue{RegistryValue::kNumber, LittleEndianBytes(TakeHex(rest), 4)};
    }
    constexpr std::pair<std::string_view, unsigned> kTexts[] = {
        {"\"", RegistryValue::kText},
        {"str:\"", RegistryValue::kText},
        {"str(2):\"", RegistryValue::kExpandText},
        {"str(7):\"", RegistryValue::kTexts}};
    for (const auto& [prefix, type] : kTexts) {
        if (!Skip(rest, prefix)) continue;
        const auto text = TakeEscaped(rest, '"');
        if (text) return RegistryValue{type, text::BytesFromUtf16(*text)};
    }
    return std::nullopt;
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

std::string_view RegistryLine::In(std::string_view text) const {
    std::string_view line = text.substr(begin, end - begin);
    line = line.substr(0, line.find('\0'));
    SkipBlanks(line);
    return line;
}

RegistryLine LineAt(std::string_view text, std::size_t begin) {
    const std::size_t feed = std::min(text.find('\n', begin), text.size());
    const bool hasReturn = feed > begin && text[feed - 1] == '\r';
    return {begin, feed - hasReturn, std::min(feed + 1, text.size())};
}

std::u16string PlainKey(std::u16string_view key) {
    std::u16string plain;
    for (const char16_t unit : key) {
        if (unit != u'\\' || (!plain.empty() && plain.back() != u'\\')) plain += unit;
    }
    if (plain.ends_with(u'\\')) plain.pop_back();
    return plain;
}

std::optional<std::u16string> ParseKeyLine(std::string_view line) {
    if (!Skip(line, "[")) return std::nullopt;
    const auto key = TakeEscaped(line, ']');
    if (!key) return std::nullopt;
    return PlainKey(*key);
}

std::optional<ValueLine> ReadValueLine(std::string_view text, RegistryLine line) {
    std::string_view rest = line.In(text);
    const auto name = TakeValueName(rest);
    if (!name) return std::nullopt;
    ValueLine found{*name, {}, static_cast<std::size_t>(rest.data() - text.data()), {}, {}, false};
    if (const auto type = TakeHexType(rest)) {
        std::string bytes;
        HexEnd end = AppendHexLine(rest, bytes);
        while (end == HexEnd::kGoesOn && line.next < text.size()) {
            line = LineAt(text, line.next);
            end = AppendHexLine(line.In(text), bytes);
        }
        if (end == HexEnd::kWhole) found.value = RegistryValue{*type, bytes};
        found.isOpen = end == HexEnd::kGoesOn;
    } else {
        found.value = ParseData(rest);
    }
    found.dataEnd = line.end;
    found.next = line.next;
    return found;
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

std::string FormatData(const RegistryValue& value) {
    if (value.type == RegistryValue::kNumber) {
        char buffer[20];
        std::snprintf(buffer, sizeof buffer, "dword:%08x",
                      static_cast<unsigned>(ReadU32(value.data, 0).value_or(0)));
        return buffer;
    }
    return '"' + Escape(text::Utf16FromBytes(value.data), false) + '"';
}

bool EqualFolded(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char16_t x, char16_t y) {
        return x == y || posix::FoldCase(x) == posix::FoldCase(y);
    });
}

}  // namespace platform::prefix
