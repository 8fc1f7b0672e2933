#pragma once

#include <string>
#include <string_view>
#include <vector>

// Windows paths and names in a system code page. In a double-byte code page a second byte that
// equals '\' separates nothing.
namespace text {

// The parts of a path, as _splitpath gives them: "C:", "\dir\sub\", "name", ".ext".
struct PathParts {
    std::string drive, folder, name, extension;
};

// The parts joined are the path again. Parts need not be present.
PathParts SplitPath(std::string_view path, unsigned codePage);
std::string JoinPath(const PathParts& parts);

// The position of the last separator ('\', '/' or the ':' of a drive); npos if there is none.
std::size_t LastSeparator(std::string_view path, unsigned codePage);
// What stands behind the last separator.
std::string_view NameIn(std::string_view path, unsigned codePage);
// The path of a folder with a separator at its end.
std::string WithSeparator(std::string folder, unsigned codePage);
// The names in a path without drive, "." and ".." resolved by the text alone.
std::vector<std::string> NamesIn(std::string_view path, unsigned codePage);

// The longest path that the system's path functions hold, in bytes.
inline constexpr std::size_t kLongestPath = 259;

// Whether Windows forbids the ASCII letter in names: a separator, a wildcard, a control character.
bool IsForbiddenInNames(char letter);
// Whether Windows takes the name for a device: "NUL", "com1.txt", "LPT9 .tar.gz".
bool IsDevice(std::string_view name);
// Whether a foreign name, appended to a folder, names a file directly in that folder on every
// system: it has no folder, drive, stream, "..", device or forbidden letter.
bool IsPlainFileName(std::string_view name, unsigned codePage);
// The last name of a path if it is a plain one, else the empty text.
std::string PlainNameIn(std::string_view path, unsigned codePage);

}  // namespace text
