#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/os/registry.h"

namespace kvutil {

// A text value of at most `size` bytes with its closing zero; kTooLarge if it has more.
platform::Result<std::string> ReadBoundedText(platform::Registry& registry,
                                              platform::RegistryRoot root, std::string_view key,
                                              std::string_view value, std::size_t size);

}  // namespace kvutil
