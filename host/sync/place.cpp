#include "host/sync/place.h"

#include "host/base/folders.h"
#include "host/state/state_file.h"

namespace host::sync {

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
    // With the in-box of another day what was in step tells nothing: the next run must not carry
    // the difference into the Maildir as removals.
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
