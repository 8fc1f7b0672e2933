#pragma once

#include "platform/os/system.h"

namespace platform::windows {

// The parts of NativeSystem that have a file of their own. Each object lives until the library is
// unloaded.
Files& SystemFiles();  // by Windows paths in the system code page
// The registry as 32-bit programs see it; its texts are in the system code page.
Registry& NativeRegistry();
Libraries& NativeLibraries();
Dialogs& NativeDialogs();

// Loads a code library by a path in that code page; what lies beside it is found for it too.
Result<std::unique_ptr<Library>> LoadCode(std::string_view path, unsigned codePage);

// Shows a dialog as a window without a parent; gives its result.
int ShowModal(const DialogTemplate& dialog, DialogLogic& logic);

}  // namespace platform::windows
