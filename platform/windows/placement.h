#pragma once

#include <string>
#include <string_view>

#include "platform/os/result.h"

namespace platform::windows {

// What Files promises of Copy, Move and Replace; the paths name the files in failures.
Status CopyFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                std::string_view toPath);
Status MoveFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                std::string_view toPath);
Status ReplaceFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                   std::string_view toPath);

}  // namespace platform::windows
