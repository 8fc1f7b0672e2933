#include "tests/cases/readable.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <regex>

#include <nlohmann/json.hpp>

#include "text/ascii.h"
#include "text/utf.h"

namespace cases {

namespace {

bool CanBeSeen(char32_t character) {
    const auto isIn = [&](char32_t first, char32_t last) {
        return character >= first && character <= last;
    };
    return !(isIn(0, 0x1F) || isIn(0x7F, 0x9F) || character == 0x61C || isIn(0x200E, 0x200F) ||
             isIn(0x2028, 0x202E) || isIn(0x2066, 0x2069) || character == 0xFEFF ||
             character == text::kNoCharacter);
}

}  // namespace

std::string Readable(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const bool looksEscaped = bytes.starts_with("\\x") && bytes.size() > 3 &&
                                  std::isxdigit(static_cast<unsigned char>(bytes[2])) != 0;
        std::string_view rest = bytes;
        const bool isSeen = CanBeSeen(text::TakeUtf8(rest)) && !looksEscaped;
        for (; bytes.size() > rest.size(); bytes.remove_prefix(1)) {
            const auto byte = bytes.substr(0, 1);
            text += isSeen ? std::string(byte) : "\\x" + text::Hex(byte);
        }
    }
    return text;
}

std::string BytesOf(std::string_view readable) {
    static const std::regex kByte("\\\\x([0-9A-F]{2})");
    const std::string text(readable);
    std::string bytes;
    std::sregex_iterator byte(text.begin(), text.end(), kByte), end;
    auto at = text.begin();
    for (; byte != end; ++byte) {
        bytes.append(at, (*byte)[0].first) += static_cast<char>(std::stoi((*byte)[1], nullptr, 16));
        at = (*byte)[0].second;
    }
    return bytes.append(at, text.end());
}

void Replace(std::string& line, const std::string& from, const std::string& to) {
    line = text::Replaced(line, from, to);
}

std::vector<std::string> Lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> words;
    char quote = 0;
    bool isInWord = false;
    for (const char c : line) {
        const bool isQuote = quote != 0 ? c == quote : c == '"' || c == '\'';
        if (c == ' ' && quote == 0) {
            isInWord = false;
            continue;
        }
        if (!isInWord) words.emplace_back();
        isInWord = true;
        if (isQuote) quote = quote == 0 ? c : '\0';
        if (!isQuote) words.back() += c;
    }
    for (auto& word : words) word = BytesOf(word);
    return words;
}

std::string WithMarks(const std::string& line) {
    static const std::regex kToday = [] {
        const std::time_t now = std::time(nullptr);
        std::array<char, 200> text{};
        std::strftime(text.data(), text.size(),
                      "(%a %b %d [0-9:]{8} %Y)|(%a, %d %b %Y [0-9:]{8})|(%Y-%m-%d [0-9:]{5})|"
                      "(%Y-%m-%dT[0-9:]{8}[+-][0-9:]{5})",
                      std::gmtime(&now));
        return std::regex(text.data());
    }();
    static const std::pair<std::regex, const char*> kMarks[] = {
        {std::regex("[0-9]+\\.[A-Z0-9]*P[0-9]+R[0-9a-f]{16}[A-Z0-9]*\\.kvsync"), "<mail>"},
        {std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"), "<id>"},
        {std::regex("(/kvsync-|=_|x[0-9A-F]{8}\\.)[0-9a-f]{16}"), "$1<id>"},
        {std::regex("[0-9]{8}[T-][0-9]{6}(Z|-[0-9]+)?"), "<time>"}};
    std::string text = std::regex_replace(line, kToday, "<now>");
    for (const auto& [pattern, mark] : kMarks) text = std::regex_replace(text, pattern, mark);
    return text;
}

std::string ShortAnswer(const std::string& line) {
    auto answer = nlohmann::ordered_json::parse(line, nullptr, false);
    if (!answer.is_object() || !answer.contains("op")) return line;
    std::string text;
    for (const auto& [name, value] : answer.items()) {
        if (name == "op") continue;
        if (!text.empty()) text += ' ';
        if (name != "code") text += name + ':';
        text += value.dump();
    }
    return text;
}

bool Matches(std::string_view line, std::string_view pattern) {
    const std::size_t gap = pattern.find("...");
    if (gap == pattern.npos) return line == pattern;
    if (!line.starts_with(pattern.substr(0, gap))) return false;
    line.remove_prefix(gap);
    pattern.remove_prefix(gap + 3);
    for (;; line.remove_prefix(1)) {
        if (Matches(line, pattern)) return true;
        if (line.empty()) return false;
    }
}

}  // namespace cases
