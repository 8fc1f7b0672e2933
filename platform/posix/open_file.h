#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/posix/system_call.h"

// Open files with Windows sharing modes: every open file reads, some write, and each may deny
// reading or writing to the others. A claim is a lock on bytes far behind any content. It holds
// between processes and between two opens in one process, as long as the descriptor or a copy of it
// is open. Two claims that exclude each other and come at the same moment may both fail; they never
// both succeed. Exclusive locks need a descriptor open for writing, so a user who may only read a
// file keeps nobody out of it. At worst such a user occupies all places for claims; then, as on a
// file system without locks, every claim is granted.
namespace platform::posix {

// Opens a regular file by its native path in UTF-8 and claims it in its sharing mode. A file whose
// permissions let nobody write is read-only for the superuser too, as it is on Windows.
Result<FileHandle> OpenClaimed(const std::string& path, OpenMode mode, Share share);
// The same as an object; failures of the open file speak of it as `name`.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share);

// Claims a file that will be removed, so that our programs cannot open it as long as `claim` lives.
// kSharingViolation if one has it open. A file that cannot be opened is no failure here.
Status ClaimForRemoval(const std::string& path, FileHandle& claim);

// The permissions of a new file or folder, made from the wanted ones (KeepNewFilesPrivate).
mode_t NewMode(mode_t wanted);

}  // namespace platform::posix
