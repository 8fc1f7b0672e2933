#include "platform/os/profile.h"

#include "text/ascii.h"

namespace platform {

namespace {

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
        const std::string_view line = text::Trimmed(text::TakeLine(text));
        if (line.starts_with('[')) {
            isInSection = text::EqualNoCase(line.substr(1, line.find(']') - 1), section);
            continue;
        }
        const auto equals = line.find('=');
        if (!isInSection || equals == std::string_view::npos) continue;
        if (text::EqualNoCase(text::Trimmed(line.substr(0, equals)), key)) {
            return WithoutQuotes(text::Trimmed(line.substr(equals + 1)));
        }
    }
    return std::nullopt;
}

}  // namespace platform
