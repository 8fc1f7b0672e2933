#pragma once

#include <memory>
#include <string>

#include "platform/os/files.h"

namespace platform::posix {

// Opens a regular file under a UTF-8 path; `name` is the one by which failures of the open file
// speak of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share);

// Makes an empty file `base` + four hex digits + ".tmp" that was not there before; gives its path.
Result<std::string> CreateNumberedFile(Files& files, const std::string& base);

}  // namespace platform::posix
