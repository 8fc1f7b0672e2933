#pragma once

#include "platform/mfc/collections.h"
#include "platform/os/files.h"
#include "platform/os/registry.h"

// Where Eudora is on this machine, and whether it is the machine's mail client.
namespace locate {

// The registry key of the local machine in which Eudora's set-up leaves its place, and its value
// with Eudora's folder.
inline constexpr const char* kAppPathsKey =
    "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
inline constexpr const char* kAppPathsFolder = "path";

// Reads Eudora's folder and then the full path of its program from the registry; each is left as
// it was from the first value on that is missing. True if the program's file exists too.
bool FindEudora(platform::Registry& registry, platform::Files& files, CString& folder,
                CString& program);

// The nickname file beside the program: the first *.txt file in the folder NickName that the file
// system lists, else nndbase.txt, which need not exist. Empty if the listed file cannot be reached
// by its short name.
CString FindNicknameFile(platform::Files& files, const CString& program, unsigned codePage);

// Whether the mailto command is exactly Eudora's own: its short path and " /M %1", in any case.
bool IsDefaultClient(platform::Registry& registry, platform::Files& files, const CString& program);

}  // namespace locate
