#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/posix/file_handle.h"

namespace platform::posix {

// Opens a regular file under a UTF-8 path and claims it in its sharing mode. A file whose
// permissions let nobody write is read-only for the superuser too, as it is on Windows.
Result<FileHandle> OpenClaimed(const std::string& path, OpenMode mode, Share share);

// `name` is the one by which failures of the open file speak of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share);

// The permissions for something new, of those that are asked for.
mode_t NewMode(mode_t wanted);

}  // namespace platform::posix
