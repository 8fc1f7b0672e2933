#include "host/sync/rules.h"

#include <algorithm>

#include "host/base/failure.h"
#include "text/ascii.h"

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
    const auto number = text::NumberIn<decltype(limit.number)>(text);
    if (!number || (limit.isPercent && *number > 100)) return std::nullopt;
    limit.number = *number;
    return limit;
}

unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit) {
    constexpr unsigned long kDefaultDeletions = 10, kDefaultPercent = 25;
    if (!limit) return std::max(kDefaultDeletions, total * kDefaultPercent / 100);
    return limit->isPercent ? total * limit->number / 100 : limit->number;
}

std::optional<std::string> TooManyDeletions(unsigned long count, const char* what,
                                            unsigned long total,
                                            const std::optional<DeleteLimit>& limit) {
    const unsigned long allowed = DeletionsAllowed(total, limit);
    if (count <= allowed) return std::nullopt;
    const std::string number = std::to_string(count);
    return number + ' ' + what + ", more than the " + std::to_string(allowed) +
           " allowed: check both sides, then allow it with --max-delete " + number;
}

base::Status CheckRights(platform::Files& files, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const auto info = files.Stat(path);
        if (info && info->isReadOnly) {
            return base::RefusedFor(path, "is read-only", "make it writable");
        }
    }
    return {};
}

}  // namespace host::sync
