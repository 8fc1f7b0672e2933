#include "platform/os/profile.h"

#include "text/ascii.h"

namespace platform {

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
            const std::string_view value = text::Trimmed(line.substr(equals + 1));
            const char first = value.empty() ? '\0' : value.front();
            const bool isQuoted = value.size() >= 2 && value.back() == first;
            return isQuoted && (first == '"' || first == '\'') ? value.substr(1, value.size() - 2)
                                                               : value;
        }
    }
    return std::nullopt;
}

}  // namespace platform
