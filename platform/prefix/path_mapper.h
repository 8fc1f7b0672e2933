#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/os/result.h"

namespace platform::prefix {

// The native path of a Windows path.
struct MappedPath {
    std::string path;     // UTF-8; if there is nothing of the name, as it would be created
    std::string asNamed;  // the same, but the last name spelt as it was asked for
    bool exists = false;
};

// Maps Windows paths, in the code page, to native paths of a Wine prefix. A drive is the link
// dosdevices/x: of the prefix. A name matches as it is spelt, else in any case. The current folder
// is the root of drive C.
class PathMapper {
  public:
    PathMapper(std::string prefix, unsigned codePage)
        : m_prefix(std::move(prefix)), m_codePage(codePage) {}

    // kNotFound if the drive or a folder on the way is missing, or if the path has no drive;
    // kInvalidArgument for a name that Windows forbids.
    Result<MappedPath> Map(std::string_view windowsPath) const;

    // NativePathOf and WindowsPathOf of platform/os/system.h for this prefix.
    std::optional<std::string> NativePath(std::string_view windowsPath) const;
    std::optional<std::string> WindowsPath(const std::string& nativePath) const;

    unsigned CodePage() const { return m_codePage; }

  private:
    std::string m_prefix;
    unsigned m_codePage;
};

// Whether Windows allows the name, given in UTF-8, for a file.
bool IsWindowsName(std::string_view name);

}  // namespace platform::prefix
