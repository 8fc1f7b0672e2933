#pragma once

#include <filesystem>
#include <string>

namespace host::base {

// Native paths in UTF-8 and the standard library's path class.
std::filesystem::path ToPath(const std::string& utf8);
std::string FromPath(const std::filesystem::path& path);

// Whether the machine's own paths are Windows paths; else the module lives in a Wine prefix.
bool UsesWindowsPaths();

// Between UTF-8 and the system code page of the module's machine.
std::string ToUtf8(std::string_view text);
// `lossy`, if given, says whether the code page lacks a character.
std::string FromUtf8(std::string_view text, bool* lossy = nullptr);

}  // namespace host::base
