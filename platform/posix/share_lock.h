#pragma once

#include "platform/os/files.h"

namespace platform::posix {

// Claims an open file in the way of Windows sharing modes, for as long as the descriptor and its
// copies are open: every open file reads, some write, and each may deny either to the others. The
// claims are locks on bytes far behind any content, so they hold between processes and between two
// opens of one process alike. False if somebody else's claim is in the way. Two claims that
// exclude each other and come at the same moment may both fail; they never both succeed.
// On a file system without locks everything is granted.
bool ClaimShare(int descriptor, bool writes, Share share);

}  // namespace platform::posix
