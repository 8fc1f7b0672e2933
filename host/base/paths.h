#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "platform/os/files.h"

// Native paths, in UTF-8, and texts of the module's code page.
namespace host::base {

// Between native paths in UTF-8 and the standard library's path class.
std::filesystem::path ToPath(const std::string& utf8);
std::string FromPath(const std::filesystem::path& path);

// Whether the machine's own paths are Windows paths; else the module lives in a Wine prefix.
bool UsesWindowsPaths();

// Between UTF-8 and the system code page of the module's machine.
std::string ToUtf8(std::string_view text);
// `lossy`, if given, says whether the code page lacks a character.
std::string FromUtf8(std::string_view text, bool* lossy = nullptr);

// Makes the folder and those above it, in the path form of `files`. A failure leaves those that
// were made before it.
base::Status MakeFolders(platform::Files& files, const std::string& folder);
// The same for a native folder of kvsync's own; a failure is kRefused, with advice.
base::Status MakeOwnFolders(const std::string& folder);
inline constexpr const char* kMakeWritable =
    "give yourself write permission there, or set XDG_STATE_HOME to another folder";

// kRefused unless the native folder exists and can be listed. `what` names it in the failure.
base::Status CheckFolder(const std::string& folder, const std::string& what);

// Returns when these files and all else that was written to the file system of `folder` are on the
// disk; files that are gone by then are passed over.
base::Status SettleFiles(platform::Files& files, const std::string& folder,
                         const std::vector<std::string>& paths);

// The path without its last name and the separator; empty if there is no separator.
std::string ParentFolder(const platform::Files& files, const std::string& path);
// Its last name.
std::string FileName(const platform::Files& files, const std::string& path);
// That name in a folder.
std::string PathIn(const platform::Files& files, const std::string& folder,
                   const std::string& name);

}  // namespace host::base
