#pragma once

#include "host/backup/backups.h"
#include "host/engine/commands.h"

namespace host {

// The backups beside the state file.
Backups BackupsOf(const CommandPlace& place);

// When the nickname file was last changed. kRefused for what cannot be one.
platform::Result<std::chrono::system_clock::time_point> CheckNicknameFile(platform::Files& files,
                                                                          const std::string& path);

}  // namespace host
