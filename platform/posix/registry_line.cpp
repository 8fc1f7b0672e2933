#include "platform/posix/registry_line.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "platform/os/little_endian.h"
#include "platform/posix/registry_escape.h"
#include "platform/posix/utf.h"

namespace platform::posix {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view WithoutBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool Skip(std::string_view& rest, std::string_view prefix) {
    if (!rest.starts_with(prefix)) return false;
    rest.remove_prefix(prefix.size());
    return true;
}

std::optional<unsigned> TakeHex(std::string_view& rest) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number, 16);
    if (error != std::errc()) return std::nullopt;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return number;
}

// Takes "word:" or "word(N):" off `rest`, N being the type in hex.
std::optional<unsigned> TakeType(std::string_view& rest, std::string_view word,
                                 unsigned plainType) {
    if (!Skip(rest, word)) return std::nullopt;
    if (Skip(rest, ":")) return plainType;
    if (!Skip(rest, "(")) return std::nullopt;
    const auto type = TakeHex(rest);
    if (!type || !Skip(rest, "):")) return std::nullopt;
    return type;
}

std::optional<std::string> ParseHexBytes(std::string_view rest) {
    std::string bytes;
    while (!rest.empty()) {
        if (kBlanks.find(rest.front()) != std::string_view::npos ||
            std::string_view("\\\r\n,").find(rest.front()) != std::string_view::npos) {
            rest.remove_prefix(1);
            continue;
        }
        const auto number = TakeHex(rest);
        if (!number || *number > 0xFF) return std::nullopt;
        bytes += static_cast<char>(*number);
    }
    return bytes;
}

std::optional<std::string> ParseQuoted(std::string_view rest) {
    if (!Skip(rest, "\"")) return std::nullopt;
    const auto text = TakeEscaped(rest, '"');
    if (!text || !WithoutBlanks(rest).empty()) return std::nullopt;
    return BytesFromUtf16(*text);
}

std::string BytesFromNumber(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

// The physical line, without its end.
RegistryLine PhysicalLine(std::string_view text, std::size_t begin) {
    const auto feed = text.find('\n', begin);
    if (feed == std::string_view::npos) return {begin, text.size(), text.size()};
    const bool hasReturn = feed > begin && text[feed - 1] == '\r';
    return {begin, feed - hasReturn, feed + 1};
}

// Data in hex go on where a backslash ends the line and the next one looks like more of them.
bool GoesOn(std::string_view text, const RegistryLine& line) {
    if (line.next >= text.size() || !line.In(text).ends_with('\\')) return false;
    const RegistryLine next = PhysicalLine(text, line.next);
    const std::string_view more = next.In(text);
    return !more.empty() &&
           more.find_first_not_of(" \t,\\0123456789abcdefABCDEF") == std::string_view::npos;
}

}  // namespace

RegistryLine LineAt(std::string_view text, std::size_t begin) {
    RegistryLine line = PhysicalLine(text, begin);
    if (line.In(text).find("=hex") == std::string_view::npos) return line;
    while (GoesOn(text, line)) {
        const RegistryLine next = PhysicalLine(text, line.next);
        line.end = next.end;
        line.next = next.next;
    }
    return line;
}

std::optional<std::u16string> ParseKeyLine(std::string_view line) {
    if (!Skip(line, "[")) return std::nullopt;
    return TakeEscaped(line, ']');
}

std::optional<std::u16string> TakeValueName(std::string_view& rest) {
    std::optional<std::u16string> name;
    if (Skip(rest, "@")) {
        name.emplace();
    } else if (Skip(rest, "\"")) {
        name = TakeEscaped(rest, '"');
    }
    if (!name || !Skip(rest, "=")) return std::nullopt;
    return name;
}

std::optional<RegistryValue> ParseData(std::string_view data) {
    data = WithoutBlanks(data);
    std::string_view rest = data;
    if (Skip(rest, "dword:")) {
        const auto number = TakeHex(rest);
        if (!number || !rest.empty()) return std::nullopt;
        return RegistryValue{RegistryValue::kNumber, BytesFromNumber(*number)};
    }
    std::optional<std::string> bytes;
    std::optional<unsigned> type;
    if ((type = TakeType(rest = data, "hex", 3))) {
        bytes = ParseHexBytes(rest);
    } else if (data.starts_with('"')) {
        type = RegistryValue::kText;
        bytes = ParseQuoted(data);
    } else if ((type = TakeType(rest = data, "str", RegistryValue::kText))) {
        bytes = ParseQuoted(rest);
    }
    if (!type || !bytes) return std::nullopt;
    return RegistryValue{*type, *bytes};
}

std::string FormatData(const RegistryValue& value) {
    if (value.type == RegistryValue::kNumber) {
        char buffer[20];
        std::snprintf(buffer, sizeof buffer, "dword:%08x",
                      static_cast<unsigned>(ReadU32(value.data, 0).value_or(0)));
        return buffer;
    }
    return '"' + Escape(Utf16FromBytes(value.data), false) + '"';
}

bool EqualFolded(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return x == y || FoldCase(x) == FoldCase(y); });
}

}  // namespace platform::posix
