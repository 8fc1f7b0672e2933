#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/backup/backups.h"
#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::sync {

// What all commands stand on. Paths are native, in UTF-8. The objects outlive the call.
struct CommandPlace {
    platform::Files& files;
    platform::Clock& clock;
    std::string stateFile;  // its folder holds the backups too; made when it is needed
    // Called now and then with a line for the terminal once a run has taken a second; may be empty.
    std::function<void(const std::string&)> progress;
};

// The backups beside the state file.
backup::Backups BackupsOf(const CommandPlace& place);

// Backs these native paths up and lets old backups go. Adds what is no regular file to
// `passedOver`.
base::Status BackUp(const CommandPlace& place, const std::vector<std::string>& origins,
                    const std::string& reason, std::vector<std::string>& passedOver);

// Puts a backup's files back, as backup::Backups has it; gives the backup of what was there before.
// What was in step with an in-box that is put back is forgotten.
base::Result<backup::Backup> Restore(const CommandPlace& place, const std::string& id);

}  // namespace host::sync
