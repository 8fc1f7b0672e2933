#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/backup/backups.h"

// How a backup's files come back. Paths are native, in UTF-8.
namespace host::backup {

// What of a backup is to be put back, and how.
struct Wanted {
    std::string only;          // "contacts", "mail", or empty for both
    std::string eudoraFolder;  // refuses a backup of another Eudora; may be empty
    bool followLinks = false;  // that took the place of a file or its folder after the backup
};

// What a restore did: the files that it put back, and those that it removed.
struct Restored {
    std::string before;  // the id of the backup of what was in their places; empty without any
    std::vector<BackupFile> placed;
    std::vector<std::string> removed;

    bool IsEmpty() const { return placed.empty() && removed.empty(); }
};

// Called before the first file changes with what is wanted of the backup and what is about to
// happen, even if that is nothing; its failure ends the restore.
using Ready = std::function<base::Status(const Backup&, const Restored&)>;

// Puts the files back and makes a backup of those that were in their places. Of Eudora's files each
// becomes as it was, and those that did not exist go; of the other side a file comes back that is
// missing or was changed, a renamed one under its new name: mails are known by the part of their
// names that stays, vCards by their UID. A file whose length alone is kept is cut from what is
// there, or from a later copy. All are copied beside their places first; then each takes its place
// in one step; removals come last. An interrupted restore is completed by another one.
//
// kRefused, with nothing changed, for an unknown id, a backup that holds nothing of what is wanted,
// and a place that is gone, leads elsewhere now or cannot be written. A failure after `ready`
// leaves some files restored and the others as they were.
base::Result<Restored> Restore(platform::Files& files, platform::Clock& clock, Backups& backups,
                               const std::string& id, const Wanted& wanted = {},
                               const Ready& ready = nullptr);

}  // namespace host::backup
