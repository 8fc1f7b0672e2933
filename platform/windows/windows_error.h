#pragma once

#include <string_view>

#include "platform/os/result.h"
#include "platform/windows/windows_api.h"

namespace platform::windows {

// The failure of a system call on the thing named `context`, from its error number.
Failure FromError(DWORD number, std::string_view context);

// The same with GetLastError().
Failure FromLastError(std::string_view context);

}  // namespace platform::windows
