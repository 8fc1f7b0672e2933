#include "host/sync/rules.h"

#include <algorithm>

#include "host/base/paths.h"
#include "host/state/state_file.h"
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

backup::Backups BackupsOf(const CommandPlace& place) {
    const std::string folder = base::ParentFolder(place.files, place.stateFile);
    const std::string name = "backups";
    return backup::Backups(
        place.files, folder.empty() ? name : folder + place.files.Separator() + name, place.clock);
}

base::Status BackUp(const CommandPlace& place, const std::vector<std::string>& origins,
                    const std::string& reason, std::vector<std::string>& passedOver) {
    auto backups = BackupsOf(place);
    auto made = backups.Make(origins, reason);
    if (!made) return made.Error();
    passedOver = std::move(made->passedOver);
    return backups.Prune();
}

base::Result<backup::Backup> Restore(const CommandPlace& place, const std::string& id) {
    const bool hasState = place.files.Exists(place.stateFile);
    auto lock = state::StateLock::Take(place.files, place.stateFile, hasState);
    if (!lock) return lock.Error();
    // The memory does not fit a restored in-box: the next run would take mails that are missing in
    // it for removed ones.
    const auto forgetMails = [&](const backup::Backup& backup) -> base::Status {
        for (const backup::BackupFile& file : backup.files) {
            auto forgotten = state::ForgetInBox(place.files, place.stateFile, file.origin);
            if (!forgotten) return forgotten;
        }
        return {};
    };
    return BackupsOf(place).Restore(id, forgetMails);
}

}  // namespace host::sync
