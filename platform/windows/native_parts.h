#pragma once

#include "platform/os/system.h"

namespace platform::windows {

// The parts of NativeSystem that have a file of their own; one of each.
Files& SystemFiles();  // by Windows paths in the system code page
Registry& NativeRegistry();
Libraries& NativeLibraries();
Dialogs& NativeDialogs();

// Loads a code library by a path in that code page; what lies beside it is found for it too.
Result<std::unique_ptr<Library>> LoadCode(std::string_view path, unsigned codePage);

// The window of a dialog, without a parent.
int ShowModal(const DialogTemplate& dialog, DialogLogic& logic);

}  // namespace platform::windows
