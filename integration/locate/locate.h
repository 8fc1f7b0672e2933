#pragma once

#include "platform/mfc/collections.h"
#include "platform/os/files.h"
#include "platform/os/registry.h"

// Where Eudora is on this machine, and whether it is the default mail client. Paths are Windows
// paths in the system code page.
namespace locate {

// The registry key of the local machine that Eudora's installer writes, and its value with Eudora's
// folder.
inline constexpr const char* kAppPathsKey =
    "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
inline constexpr const char* kAppPathsFolder = "path";

// Reads Eudora's folder and then the full path of its program from the registry. At the first
// missing value it ends, and the rest stays as it was. True if the program's file exists too.
bool FindEudora(platform::Registry& registry, platform::Files& files, CString& folder,
                CString& program);

// The nickname file beside the program: the first *.txt file that the file system lists in the
// folder NickName, else nndbase.txt, which need not exist. Empty if the listed file has no short
// path below 260 bytes that leads to it.
CString FindNicknameFile(platform::Files& files, const CString& program, unsigned codePage);

// Whether the mailto command is exactly Eudora's own: its short path and " /M %1", in any case.
bool IsDefaultClient(platform::Registry& registry, platform::Files& files, const CString& program);

}  // namespace locate
