#include "text/encoded_words.h"

#include <algorithm>
#include <utility>

#include "text/ascii.h"

namespace text {

namespace {

constexpr auto kNone = std::string_view::npos;
// A word is short; what goes on and on is none, and is not searched for its end.
constexpr std::size_t kLongestWord = 4096;
constexpr std::size_t kLongestCharset = 40;

std::optional<std::string> FromQ(std::string_view payload, Damage damage) {
    std::string bytes;
    for (std::size_t i = 0; i < payload.size(); ++i) {
        if (payload[i] != '=') {
            bytes += payload[i] == '_' ? ' ' : payload[i];
            continue;
        }
        const auto digits = payload.substr(i + 1, 2);
        const auto value = digits.size() == 2 ? NumberIn<unsigned char>(digits, 16) : std::nullopt;
        if (value) {
            bytes += static_cast<char>(*value);
            i += 2;
        } else if (damage == Damage::kRefused) {
            return std::nullopt;
        } else {
            bytes += '=';
        }
    }
    return bytes;
}

// Senders forget the padding; it says nothing anyway.
std::optional<std::string> FromBase64(std::string_view payload, Damage damage) {
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char letter : TrimmedBack(payload, "=")) {
        const auto value = kBase64Digits.find(letter);
        if (value == kNone && damage == Damage::kRefused) return std::nullopt;
        if (value == kNone) continue;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

// The word that begins at a place of the text.
std::optional<EncodedWord> WordAt(std::string_view text, std::size_t at, Damage damage) {
    const std::string_view window = text.substr(at, kLongestWord);
    const auto kindAt = window.find('?', 2);
    if (kindAt == kNone || kindAt + 2 >= window.size() || window[kindAt + 2] != '?') return {};
    const auto begin = kindAt + 3, end = window.find("?=", begin);
    if (end == kNone) return {};
    const auto payload = window.substr(begin, end - begin);
    const char kind = Lower(window[kindAt + 1]);
    // Senders forget to encode a question mark.
    if (payload.find(kind == 'q' ? "=?" : "?") != kNone) return {};
    std::optional<std::string> bytes;
    if (kind == 'q') bytes = FromQ(payload, damage);
    if (kind == 'b') bytes = FromBase64(payload, damage);
    if (!bytes) return {};
    const auto charset = window.substr(2, kindAt - 2);
    return EncodedWord{text.substr(0, at), window.substr(0, end + 2), text.substr(at + end + 2),
                       charset.substr(0, charset.find('*')), *std::move(bytes)};
}

}  // namespace

std::optional<EncodedWord> FindEncodedWord(std::string_view text, Damage damage) {
    for (auto at = text.find("=?"); at != kNone; at = text.find("=?", at + 1)) {
        if (auto word = WordAt(text, at, damage)) return word;
    }
    return std::nullopt;
}

std::string DecodeWords(std::string_view text, Damage damage, const FromCharset& convert) {
    std::string decoded;
    bool isBehindWord = false;
    auto word = FindEncodedWord(text, damage);
    while (word) {
        const std::string_view before = word->before;
        std::string bytes = std::move(word->bytes);
        const std::string_view charset = word->charset;
        auto next = FindEncodedWord(word->behind, damage);
        std::string_view behind = word->behind;
        while (next && Trimmed(next->before).empty() && EqualNoCase(next->charset, charset)) {
            bytes += next->bytes;
            behind = next->behind;
            next = FindEncodedWord(behind, damage);
        }
        const auto converted = convert(bytes, charset);
        const bool isBetween = isBehindWord && Trimmed(before).empty();
        if (!converted || !isBetween) decoded += before;
        const auto words = text.substr(before.size(), text.size() - before.size() - behind.size());
        decoded += converted ? *converted : std::string(words);
        isBehindWord = converted.has_value();
        text = behind;
        word = std::move(next);
    }
    return decoded.append(text);
}

std::string CharsetMeant(std::string_view name) {
    static constexpr std::pair<std::string_view, std::string_view> kMeant[] = {
        {"iso-8859-1", "windows-1252"},
        {"latin1", "windows-1252"},
        {"cp1252", "windows-1252"},
        {"utf8", "utf-8"},
        {"ascii", "us-ascii"},
        {"unknown-8bit", ""},
        {"shift_jis", "cp932"},
        {"shift-jis", "cp932"},
        {"x-sjis", "cp932"},
        {"windows-31j", "cp932"},
        {"gb2312", "gb18030"},
        {"gbk", "gb18030"},
        {"ks_c_5601-1987", "cp949"},
        {"euc-kr", "cp949"},
        {"iso-8859-8-i", "iso-8859-8"}};
    const std::string lower = Lowered(name);
    for (const auto& [known, meant] : kMeant) {
        if (lower == known) return std::string(meant);
    }
    const bool isName =
        lower.size() <= kLongestCharset && std::ranges::all_of(lower, [](char c) {
            return IsLetter(c) || IsDigit(c) || c == '-' || c == '_' || c == ':' || c == '.';
        });
    return isName ? lower : std::string();
}

}  // namespace text
