#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/os/result.h"

namespace host::state {

// Whether the last change of the state file was cut off, so that its journal must undo it.
bool IsCutOff(platform::Files& files, const std::string& path);

// What such a file held before that change, in memory; null if that was nothing. The file, its
// journal and their folder stay as they are. Throws SQLite::Exception.
platform::Result<std::unique_ptr<SQLite::Database>> ReadCutOffState(platform::Files& files,
                                                                    const std::string& path);

}  // namespace host::state
