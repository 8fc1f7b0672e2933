#pragma once

#include <memory>
#include <string>

#include "platform/os/libraries.h"

namespace platform::posix {

// Null if it cannot be loaded; dlerror tells why.
std::unique_ptr<Library> LoadSharedObject(const std::string& file);

}  // namespace platform::posix
