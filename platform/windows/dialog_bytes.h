#pragma once

#include <cstdint>
#include <vector>

#include "platform/os/dialogs.h"

namespace platform::windows {

// The template as the system reads it from memory, in its 16-bit words: a modal frame with
// caption and system menu, in "MS Sans Serif" of 8 points, all texts empty.
std::vector<std::uint16_t> DialogBytes(const DialogTemplate& dialog);

}  // namespace platform::windows
