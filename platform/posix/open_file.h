#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/posix/system_call.h"

// Open files and what their users claim of them, in the way of Windows sharing modes: every open
// file reads, some write, and each may deny either to the others. The claims are locks on bytes far
// behind any content, so they hold between processes and between two opens of one process alike,
// for as long as the descriptor and its copies are open. Two claims that exclude each other and
// come at the same moment may both fail; they never both succeed.
// Only a descriptor open for writing can hold these locks, so whoever may merely read a file keeps
// nobody out of it. At worst such a user takes all the places for claims; then, as on a file system
// without locks, everything is granted.
namespace platform::posix {

// Opens a regular file under a UTF-8 path and claims it in its sharing mode. A file whose
// permissions let nobody write is read-only for the superuser too, as it is on Windows.
Result<FileHandle> OpenClaimed(const std::string& path, OpenMode mode, Share share);
// The same as an object; failures of the open file speak of it as `name`.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share);

// Fails with kSharingViolation if a program of ours has the file open. Keeps others from opening
// it as long as `claim` lives. What cannot be opened at all is left to the removal to judge.
Status ClaimForRemoval(const std::string& path, FileHandle& claim);

// The permissions for something new, of those that are asked for.
mode_t NewMode(mode_t wanted);

}  // namespace platform::posix
