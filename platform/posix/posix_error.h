#pragma once

#include <string_view>

#include "platform/os/result.h"

namespace platform::posix {

// The failure of a system call on the thing named `context`, from its errno.
Failure FromErrno(int number, std::string_view context);

}  // namespace platform::posix
