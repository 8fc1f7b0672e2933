#include <charconv>

#include "host/engine/commands.h"

namespace host {

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

}  // namespace host
