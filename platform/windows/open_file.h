#pragma once

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/windows/system_call.h"

namespace platform::windows {

// The `name` of a file is its path in UTF-16, as the system takes it.

// Whether there is a folder of that name.
bool IsFolder(const std::wstring& name);

// Whether the file exists and is marked as read-only. Every operation that writes checks it, as
// Wine writes such files when it runs for the root user.
bool IsReadOnly(const std::wstring& name);

// Opens with that mode and claim; `path` names the file in failures.
Result<Handle> OpenClaimed(const std::wstring& name, std::string_view path, OpenMode mode,
                           Share share);
// The same as a File, owned by the caller.
Result<std::unique_ptr<File>> OpenNativeFile(const std::wstring& name, std::string_view path,
                                             OpenMode mode, Share share);

}  // namespace platform::windows
