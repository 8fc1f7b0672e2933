#pragma once

#include <cstddef>
#include <string>

#include "platform/os/files.h"
#include "platform/os/result.h"

namespace host::mailsync {

// How many mails Eudora's out-box holds: the number in the header of Out.toc, 0 if there is none.
// The translator has no way to ask for it.
platform::Result<std::size_t> CountQueued(platform::Files& files, const std::string& outToc);

}  // namespace host::mailsync
