#include "platform/os/profile.h"

#include <algorithm>

namespace platform {

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view TakeLine(std::string_view& rest) {
    const auto end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return Trimmed(line);
}

bool SameName(std::string_view a, std::string_view b) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

std::string_view WithoutQuotes(std::string_view value) {
    const bool isQuoted =
        value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key) {
    bool isInSection = false;
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        if (line.starts_with('[')) {
            isInSection = SameName(line.substr(1, line.find(']') - 1), section);
            continue;
        }
        const auto equals = line.find('=');
        if (!isInSection || equals == std::string_view::npos) continue;
        if (SameName(Trimmed(line.substr(0, equals)), key)) {
            return WithoutQuotes(Trimmed(line.substr(equals + 1)));
        }
    }
    return std::nullopt;
}

}  // namespace platform
