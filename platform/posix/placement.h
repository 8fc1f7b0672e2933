#pragma once

#include <string>

#include "platform/os/result.h"

namespace platform::posix {

// What moves whole files about; the promises are those of Files.

Status CopyFile(const std::string& from, const std::string& to);
// kAlreadyExists if `to` exists; nothing is flushed and nobody's claim is looked at.
Status RenameFile(const std::string& from, const std::string& to);
Status MoveFile(const std::string& from, const std::string& to);
Status ReplaceFile(const std::string& from, const std::string& to);

}  // namespace platform::posix
