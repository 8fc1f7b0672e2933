#pragma once

#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/windows/system_call.h"

namespace platform::windows {

bool IsFolder(const std::wstring& name);

// Whether the file is there and marked as read-only. Windows refuses to write such a file; Wine
// does not when it runs for the root user, so every way to write asks first.
bool IsReadOnly(const std::wstring& name);

// Opens with that mode and claim; `path` names the file in failures.
Result<Handle> OpenClaimed(const std::wstring& name, std::string_view path, OpenMode mode,
                           Share share);
// The same as an object.
Result<std::unique_ptr<File>> OpenNativeFile(const std::wstring& name, std::string_view path,
                                             OpenMode mode, Share share);

}  // namespace platform::windows
