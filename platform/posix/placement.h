#pragma once

#include <string>

#include "platform/os/result.h"
#include "platform/posix/file_handle.h"

namespace platform::posix {

// What moves whole files about; the promises are those of Files.

// Fails with kSharingViolation if a program of ours has the file open. Keeps others from opening
// it as long as `claim` lives. What cannot be opened at all is left to the removal to judge.
Status ClaimForRemoval(const std::string& path, FileHandle& claim);

Status CopyFile(const std::string& from, const std::string& to);
// kAlreadyExists if `to` exists; nothing is flushed and nobody's claim is looked at.
Status RenameFile(const std::string& from, const std::string& to);
Status MoveFile(const std::string& from, const std::string& to);
Status ReplaceFile(const std::string& from, const std::string& to);

}  // namespace platform::posix
