#pragma once

#include <memory>

#include "platform/os/dialogs.h"

namespace host::dialogs {

// The module's dialogs as forms in the terminal. Null if standard input or output is no terminal,
// or this system shows dialogs of its own. Texts are in the system code page.
std::unique_ptr<platform::Dialogs> MakeTerminalDialogs();

}  // namespace host::dialogs
