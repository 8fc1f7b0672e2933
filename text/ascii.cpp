#include "text/ascii.h"

#include <algorithm>

namespace text {

std::string Hex(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string digits;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        digits += {kDigits[value >> 4], kDigits[value & 0xF]};
    }
    return digits;
}

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char letter) { return (letter & 0x80) == 0; });
}

std::string Lowered(std::string_view text) {
    std::string lowered(text);
    for (char& letter : lowered) letter = Lower(letter);
    return lowered;
}

std::string Raised(std::string_view text) {
    std::string raised(text);
    for (char& letter : raised) letter = Upper(letter);
    return raised;
}

std::string WithoutControls(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(line, IsControl, ' ');
    return std::string(Trimmed(line, " "));
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, Lower, Lower);
}

bool StartsWithNoCase(std::string_view text, std::string_view beginning) {
    return EqualNoCase(text.substr(0, beginning.size()), beginning);
}

std::string_view TrimmedFront(std::string_view text, std::string_view blanks) {
    return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

std::string_view TrimmedBack(std::string_view text, std::string_view blanks) {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view Trimmed(std::string_view text, std::string_view blanks) {
    return TrimmedBack(TrimmedFront(text, blanks), blanks);
}

std::string_view TakeLine(std::string_view& rest) {
    const auto end = rest.find('\n');
    const auto line = rest.substr(0, end == rest.npos ? end : end + 1);
    rest.remove_prefix(line.size());
    return line;
}

std::optional<std::string_view> TakeToken(std::string_view& rest, std::string_view delimiters) {
    rest = TrimmedFront(rest, delimiters);
    if (rest.empty()) return std::nullopt;
    const auto token = rest.substr(0, rest.find_first_of(delimiters));
    rest.remove_prefix(std::min(token.size() + 1, rest.size()));
    return token;
}

std::string Joined(const std::vector<std::string>& pieces, std::string_view between) {
    std::string joined;
    for (const std::string& piece : pieces) joined.append(joined.empty() ? "" : between) += piece;
    return joined;
}

std::string Replaced(std::string_view text, std::string_view part, std::string_view by) {
    std::string replaced;
    replaced.reserve(text.size() + text.size() / 16);
    for (;;) {
        const auto at = text.find(part);
        replaced += text.substr(0, at);
        if (at == text.npos) return replaced;
        replaced += by;
        text.remove_prefix(at + part.size());
    }
}

std::string WithCrLf(std::string_view text) {
    std::string lines;
    lines.reserve(text.size() + text.size() / 16);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i).starts_with("\r\n")) ++i;
        if (text[i] == '\r' || text[i] == '\n') {
            lines += "\r\n";
        } else {
            lines += text[i];
        }
    }
    return lines;
}

std::string WithLineFeeds(std::string_view text) {
    std::string normal;
    normal.reserve(text.size());
    while (!text.empty()) {
        const auto line = TakeLine(text);
        const bool isEnded = line.ends_with('\n');
        normal += isEnded ? TrimmedBack(line, "\r\n") : line;
        if (isEnded) normal += '\n';
    }
    return normal;
}

}  // namespace text
