#pragma once

#include <optional>
#include <string>

#include "platform/os/system.h"

namespace dialogs {

// Asks the user for a nickname file in an open-file dialog. Gives the path of an existing file, or
// nothing if the user cancels. Paths are Windows paths in the system code page; `shownAtFirst` is
// cut at 259 bytes.
std::optional<std::string> AskForNicknameFile(const platform::System& system,
                                              const std::string& shownAtFirst);

}  // namespace dialogs
