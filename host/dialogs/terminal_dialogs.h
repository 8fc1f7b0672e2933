#pragma once

#include <memory>

#include "platform/os/dialogs.h"

namespace host::dialogs {

// The module's dialogs as forms in the terminal, owned by the caller. Null if standard input or
// output is no terminal, or on Windows, which shows dialogs of its own. Texts and paths, which are
// Windows paths, are in the system code page.
std::unique_ptr<platform::Dialogs> MakeTerminalDialogs();

}  // namespace host::dialogs
