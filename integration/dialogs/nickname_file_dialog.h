#pragma once

#include <optional>
#include <string>

#include "platform/os/system.h"

namespace dialogs {

// The open-file dialog in which the user picks a nickname file: the path of something that exists,
// or nothing if it is cancelled. Paths are Windows paths in the system code page; that which is
// shown at first is cut at 259 bytes.
std::optional<std::string> AskForNicknameFile(const platform::System& system,
                                              const std::string& shownAtFirst);

}  // namespace dialogs
