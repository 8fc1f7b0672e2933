#pragma once

#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::base {

// Makes the folder and those above it.
base::Status MakeFolders(platform::Files& files, const std::string& folder);
// The same for a native folder of kvsync's own; kRefused with the way out.
base::Status MakeOwnFolders(const std::string& folder);
inline constexpr const char* kMakeWritable =
    "give yourself write permission there, or set XDG_STATE_HOME to another folder";

// kRefused, naming it as `what`, unless it is there and can be read.
base::Status CheckFolder(const std::string& folder, const std::string& what);

// The path without its last name; empty if it has one name only.
std::string ParentFolder(platform::Files& files, const std::string& path);

}  // namespace host::base
