#include "host/sync/preference.h"

#include <algorithm>
#include <charconv>

namespace host::sync {

std::optional<Prefer> ParsePrefer(std::string_view text) {
    if (text == "eudora") return Prefer::kEudora;
    if (text == "folder") return Prefer::kFolder;
    if (text == "newer") return Prefer::kNewer;
    if (text == "both") return Prefer::kBoth;
    return std::nullopt;
}

std::optional<DeleteLimit> ParseDeleteLimit(std::string_view text) {
    DeleteLimit limit;
    limit.isPercent = text.ends_with('%');
    if (limit.isPercent) text.remove_suffix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), limit.number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (limit.isPercent && limit.number > 100) return std::nullopt;
    return limit;
}

unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit) {
    constexpr unsigned long kDefaultDeletions = 10, kDefaultPercent = 25;
    if (!limit) return std::max(kDefaultDeletions, total * kDefaultPercent / 100);
    return limit->isPercent ? total * limit->number / 100 : limit->number;
}

}  // namespace host::sync
