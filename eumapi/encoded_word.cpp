#include "eumapi/encoded_word.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "platform/os/code_page.h"
#include "text/ascii.h"

namespace eumapi {

namespace {

// How text of a character set becomes text of a code page that the system knows.
enum class Form { kPlain, kLatin9, kEucJp, kIso2022Jp };

struct Charset {
    std::string_view name;
    unsigned codePage;
    Form form = Form::kPlain;
};
constexpr Charset kCharsets[] = {{"utf-8", 65001},
                                 {"utf8", 65001},
                                 {"us-ascii", 1252},
                                 {"ascii", 1252},
                                 {"iso-8859-1", 1252},
                                 {"iso-8859-9", 1254},
                                 {"iso-8859-15", 1252, Form::kLatin9},
                                 {"windows-1250", 1250},
                                 {"windows-1251", 1251},
                                 {"windows-1252", 1252},
                                 {"windows-1253", 1253},
                                 {"windows-1254", 1254},
                                 {"windows-1255", 1255},
                                 {"windows-1256", 1256},
                                 {"windows-1257", 1257},
                                 {"windows-1258", 1258},
                                 {"shift_jis", 932},
                                 {"shift-jis", 932},
                                 {"x-sjis", 932},
                                 {"windows-31j", 932},
                                 {"iso-2022-jp", 932, Form::kIso2022Jp},
                                 {"euc-jp", 932, Form::kEucJp},
                                 {"gb2312", 936},
                                 {"gbk", 936},
                                 {"euc-kr", 949},
                                 {"ks_c_5601-1987", 949},
                                 {"big5", 950}};

// A language behind a star is no part of the name.
const Charset* FindCharset(std::string_view name) {
    name = name.substr(0, name.find('*'));
    const auto isNamed = [&](const Charset& charset) {
        return text::EqualNoCase(name, charset.name);
    };
    const auto found = std::find_if(std::begin(kCharsets), std::end(kCharsets), isNamed);
    return found == std::end(kCharsets) ? nullptr : found;
}

std::optional<std::string> FromQ(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            bytes += text[i] == '_' ? ' ' : text[i];
            continue;
        }
        if (text.size() - i < 3) return std::nullopt;
        const int high = text::HexValue(text[i + 1]), low = text::HexValue(text[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes += static_cast<char>(high << 4 | low);
        i += 2;
    }
    return bytes;
}

// Senders forget the padding; it says nothing anyway.
std::optional<std::string> FromBase64(std::string_view text) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    while (text.ends_with('=')) text.remove_suffix(1);
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char letter : text) {
        const auto value = kDigits.find(letter);
        if (value == kDigits.npos) return std::nullopt;
        bits = (bits << 6 | static_cast<std::uint32_t>(value)) & 0xFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

// A character of JIS X 0208 by its two bytes of 0x21 to 0x7E, as Shift-JIS writes it.
void AppendShiftJis(unsigned row, unsigned cell, std::string& out) {
    const unsigned lead = (row - 0x21) / 2 + (row < 0x5F ? 0x81 : 0xC1);
    const unsigned trail = row % 2 == 0 ? cell + 0x7E : cell + (cell < 0x60 ? 0x1F : 0x20);
    out += static_cast<char>(lead);
    out += static_cast<char>(trail);
}

bool IsJis(unsigned byte) {
    return byte >= 0x21 && byte <= 0x7E;
}

std::optional<std::string> FromEucJp(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            bytes += text[i];
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        const auto second = static_cast<unsigned char>(text[i]);
        if (byte == 0x8E && second >= 0xA1 && second <= 0xDF) {
            bytes += text[i];  // a narrow kana
        } else if (second >= 0x80 && IsJis(byte & 0x7F) && IsJis(second & 0x7F)) {
            AppendShiftJis(byte & 0x7F, second & 0x7F, bytes);
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

std::optional<std::string> FromIso2022Jp(std::string_view text) {
    enum class Set { kAscii, kKana, kKanji } set = Set::kAscii;
    std::string bytes;
    while (!text.empty()) {
        if (text[0] == '\x1B') {
            const auto name = text.substr(1, 2);
            if (name == "(B" || name == "(J") {
                set = Set::kAscii;
            } else if (name == "(I") {
                set = Set::kKana;
            } else if (name == "$B" || name == "$@") {
                set = Set::kKanji;
            } else {
                return std::nullopt;
            }
            text.remove_prefix(3);
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[0]);
        if (set == Set::kKanji && IsJis(byte)) {
            if (text.size() < 2 || !IsJis(static_cast<unsigned char>(text[1]))) return std::nullopt;
            AppendShiftJis(byte, static_cast<unsigned char>(text[1]), bytes);
            text.remove_prefix(2);
            continue;
        }
        bytes += static_cast<char>(set == Set::kKana && IsJis(byte) ? byte | 0x80 : byte);
        text.remove_prefix(1);
    }
    return bytes;
}

// Latin 9 differs from Latin 1 in eight characters, which 1252 has in other places.
std::string FromLatin9(std::string text) {
    constexpr std::string_view kLatin9 = "\xA4\xA6\xA8\xB4\xB8\xBC\xBD\xBE";
    constexpr std::string_view kWindows = "\x80\x8A\x9A\x8E\x9E\x8C\x9C\x9F";
    for (char& letter : text) {
        if (const auto at = kLatin9.find(letter); at != kLatin9.npos) letter = kWindows[at];
    }
    return text;
}

std::optional<std::string> Converted(std::string bytes, const Charset& charset, unsigned codePage) {
    std::optional<std::string> plain;
    switch (charset.form) {
        case Form::kPlain:
            plain = std::move(bytes);
            break;
        case Form::kLatin9:
            plain = FromLatin9(std::move(bytes));
            break;
        case Form::kEucJp:
            plain = FromEucJp(bytes);
            break;
        case Form::kIso2022Jp:
            plain = FromIso2022Jp(bytes);
            break;
    }
    if (!plain || charset.codePage == codePage) return plain;
    bool isLossy = false;
    auto text = platform::FromUtf8(platform::ToUtf8(*plain, charset.codePage), codePage, &isLossy);
    if (isLossy) return std::nullopt;
    return text;
}

// One encoded word at the beginning of a text.
struct Word {
    const Charset* charset;
    std::string bytes;
    std::size_t length;  // of the word in the text
};

std::optional<Word> TakeWord(std::string_view text) {
    if (!text.starts_with("=?")) return std::nullopt;
    // A word is short; what goes on and on is none, and is not searched for its end.
    const std::string_view window = text.substr(0, 4096);
    const auto charsetEnd = window.find('?', 2);
    if (charsetEnd == window.npos || window.size() - charsetEnd < 5) return std::nullopt;
    const char encoding = text::Lower(window[charsetEnd + 1]);
    if (window[charsetEnd + 2] != '?') return std::nullopt;
    const auto start = charsetEnd + 3;
    const auto end = window.find("?=", start);
    if (end == window.npos) return std::nullopt;
    const auto content = window.substr(start, end - start);
    const Charset* charset = FindCharset(window.substr(2, charsetEnd - 2));
    std::optional<std::string> bytes;
    if (encoding == 'q') bytes = FromQ(content);
    if (encoding == 'b') bytes = FromBase64(content);
    if (charset == nullptr || !bytes) return std::nullopt;
    return Word{charset, *std::move(bytes), end + 2};
}

std::size_t BlanksAt(std::string_view text) {
    return std::min(text.find_first_not_of(" \t\r\n"), text.size());
}

}  // namespace

std::string DecodeHeader(std::string_view text, unsigned codePage) {
    std::string out;
    while (!text.empty()) {
        auto run = TakeWord(text);
        if (!run) {
            out += text.front();
            text.remove_prefix(1);
            continue;
        }
        // Words of one set belong together: a character may begin in one and end in the next.
        for (;;) {
            const auto behind = text.substr(run->length);
            const auto blanks = BlanksAt(behind);
            const auto next = TakeWord(behind.substr(blanks));
            if (!next || next->charset != run->charset) break;
            run->bytes += next->bytes;
            run->length += blanks + next->length;
        }
        const auto converted = Converted(std::move(run->bytes), *run->charset, codePage);
        out += converted ? *converted : std::string(text.substr(0, run->length));
        text.remove_prefix(run->length);
        // Blanks between two encoded words are no text, whatever their sets.
        const auto blanks = BlanksAt(text);
        if (converted && TakeWord(text.substr(blanks))) text.remove_prefix(blanks);
    }
    std::replace_if(
        out.begin(), out.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return out;
}

}  // namespace eumapi
