#pragma once

#include "platform/os/clock.h"
#include "platform/os/dialogs.h"
#include "platform/os/files.h"
#include "platform/os/libraries.h"
#include "platform/os/processes.h"
#include "platform/os/registry.h"

namespace platform {

// The facades through which the module uses the system. They outlive every user of the struct.
// Texts are in the system code page, paths are Windows paths.
struct System {
    Files& files;  // Windows paths in the system code page
    Registry& registry;
    Processes& processes;
    Windows& windows;
    Libraries& libraries;
    Dialogs& dialogs;
    Clock& clock;
    unsigned codePage;  // the number of the system code page (1252, 932, ...)
};

// The machine's system; lives as long as the library it is linked into. On Linux it works on the
// Wine prefix that the environment variable WINEPREFIX names at the first call, else on ~/.wine.
// Dialogs go to the host's provider, if there is one; else they are windows on Windows, while on
// Linux messages go to standard error and every dialog counts as cancelled.
const System& NativeSystem();

// The two forms of a path: the module's, a Windows path in the system code page, and the machine's
// own, native and in UTF-8.

// The native path of a Windows path with a drive, links followed. Names match in any case; a
// missing one is taken as it is spelt. Nothing if there is no such drive.
std::optional<std::string> NativePathOf(std::string_view windowsPath);
// The shortest Windows path of a native path. Nothing if no drive leads there, or if the code page
// cannot hold a name.
std::optional<std::string> WindowsPathOf(std::string_view nativePath);

// The system's handle of the library or program that this code is part of.
void* OwnInstance();

// Sets the function that NativeSystem asks at each dialog for the host's provider; without one, or
// if it gives null, dialogs are the system's own. The module connects it to kvUtil when it is
// loaded, as this library does not know kvUtil.
void SetDialogSource(Dialogs* (*source)());

// The machine's own file system, with native paths in UTF-8.
Files& NativeFiles();

// From now on NativeFiles() creates everything for the user alone: folders with 0700, files with
// 0600, copies with the user's part of the original's permissions. A replaced file keeps its
// permissions. Nothing changes on Windows, where the rights of the folder hold.
void KeepNewFilesPrivate();

}  // namespace platform
