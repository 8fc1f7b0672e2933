#pragma once

#include <string>

#include "platform/os/files.h"
#include "platform/posix/file_handle.h"

namespace platform::posix {

// Opens a file for reading so that a claim on it counts, where the user may write it.
FileHandle OpenForClaim(const std::string& path, int flags);

// Claims an open file in the way of Windows sharing modes, for as long as the descriptor and its
// copies are open: every open file reads, some write, and each may deny either to the others. The
// claims are locks on bytes far behind any content, so they hold between processes and between two
// opens of one process alike. False if somebody else's claim is in the way. Two claims that
// exclude each other and come at the same moment may both fail; they never both succeed.
// The claims are locks that only a descriptor open for writing can hold, so whoever may merely read
// a file keeps nobody out of it. At worst such a user takes all the places for claims; then, as on
// a file system without locks, everything is granted.
bool ClaimShare(int descriptor, bool writes, Share share);

}  // namespace platform::posix
