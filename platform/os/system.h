#pragma once

#include "platform/os/clock.h"
#include "platform/os/dialogs.h"
#include "platform/os/files.h"
#include "platform/os/libraries.h"
#include "platform/os/processes.h"
#include "platform/os/registry.h"

namespace platform {

// Everything that the module asks of the system. The objects outlive every user of the struct.
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

// The real one. Where the host has set a dialog provider in kvUtil, the dialogs are the provider's;
// else they are real windows on Windows, and on Linux messages go to standard error and every
// dialog counts as cancelled. On Linux the rest works on the Wine prefix that the environment
// variable WINEPREFIX names at the first call, else on ~/.wine. Lives as long as the library it is
// linked into.
const System& NativeSystem();

// The two forms of a path: the module's, a Windows path in the system code page, and the machine's
// own, native and in UTF-8.

// Where a path with a drive leads, without links. Names are matched without regard to case; one
// that does not exist is taken as it is spelt. Nothing without such a drive.
std::optional<std::string> NativePathOf(std::string_view windowsPath);
// The shortest path by a drive that leads there. Nothing if no drive does, or if the code page
// cannot hold the name.
std::optional<std::string> WindowsPathOf(std::string_view nativePath);

// The system's handle of the library or program that this code is part of.
void* OwnInstance();

// Tells where NativeSystem's dialogs ask, at each use, for a provider; null, or a source that
// gives null, leaves them the system's own. This library does not know kvUtil: the shared library
// that both are part of connects the two when it is loaded.
void SetDialogSource(Dialogs* (*source)());

// The machine's own file system, with native paths in UTF-8, for programs that work outside the
// prefix too.
Files& NativeFiles();

// From now on what NativeFiles() makes is for the user alone: folders with 0700, files with 0600,
// copies with what the user may do with the original. A file that is replaced keeps its
// permissions. On Windows the rules of the folder hold, and nothing changes.
void KeepNewFilesPrivate();

}  // namespace platform
