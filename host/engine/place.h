#pragma once

#include "host/backup/backups.h"
#include "host/engine/commands.h"
#include "host/state/state_file.h"

namespace host {

// The backups beside the state file.
Backups BackupsOf(const CommandPlace& place);

// The lock on the state file; a run that may write first makes its folder.
platform::Result<StateLock> LockState(const CommandPlace& place, bool mayWrite);

// When the nickname file was last changed. kRefused for what cannot be one.
platform::Result<std::chrono::system_clock::time_point> CheckNicknameFile(platform::Files& files,
                                                                          const std::string& path);

}  // namespace host
