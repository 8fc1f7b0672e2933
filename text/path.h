#pragma once

#include <string>
#include <string_view>

namespace text {

// The parts of a Windows path, as _splitpath gives them: "C:", "\dir\sub\", "name", ".ext". In a
// double-byte code page a trail byte that equals '\' is no separator: `codePage` decides.
struct PathParts {
    std::string drive, folder, name, extension;
};

PathParts SplitPath(std::string_view path, unsigned codePage);
std::string JoinPath(const PathParts& parts);

// The position of the last separator ('\', '/' or the ':' of a drive) in a Windows path of that
// code page; npos if there is none.
std::string_view::size_type LastSeparator(std::string_view path, unsigned codePage);

}  // namespace text
