#pragma once

#include <string>
#include <string_view>

namespace platform {

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

// Whether `byte` opens a double-byte character of the code page (932, 936, 949, 950, 1361).
bool IsLeadByte(unsigned char byte, unsigned codePage);

// The length in bytes of the longest part of `text` from its beginning that has at most `limit`
// bytes and ends with a whole character.
std::string_view::size_type WholeCharacterPrefix(std::string_view text,
                                                 std::string_view::size_type limit,
                                                 unsigned codePage);

}  // namespace platform
