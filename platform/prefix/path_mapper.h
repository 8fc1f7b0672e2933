#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/os/result.h"

namespace platform::prefix {

// Where a Windows path leads in the machine's file system.
struct MappedPath {
    std::string path;     // UTF-8; if there is nothing of the name, as it would be created
    std::string asNamed;  // the same, but the last name spelt as it was asked for
    bool exists = false;
};

// Windows paths of a Wine prefix. A drive is the link dosdevices/x: of the prefix; each name is
// taken as it is spelt if there is such a file, else without regard to case. The current folder
// is the root of drive C.
class PathMapper {
  public:
    PathMapper(std::string prefix, unsigned codePage)
        : m_prefix(std::move(prefix)), m_codePage(codePage) {}

    // kNotFound if the drive or a folder on the way is missing, and for every path that does not
    // lie on a drive; kInvalidArgument for a name that cannot be one on Windows.
    Result<MappedPath> Map(std::string_view windowsPath) const;

    // What NativePathOf and WindowsPathOf promise.
    std::optional<std::string> NativePath(std::string_view windowsPath) const;
    std::optional<std::string> WindowsPath(const std::string& nativePath) const;

    unsigned CodePage() const { return m_codePage; }

  private:
    std::string m_prefix;
    unsigned m_codePage;
};

// Whether a name, in UTF-8, can be that of a file on Windows.
bool IsWindowsName(std::string_view name);

}  // namespace platform::prefix
