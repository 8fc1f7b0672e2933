#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

// The longest path that the system's path functions hold.
inline constexpr std::size_t kLongestPath = 259;

// Whether a name from outside, put behind a folder, names a file in that very folder on every
// system: no folder, drive or stream, no way up, no device, nothing that Windows allows in no name.
bool IsPlainFileName(std::string_view name, unsigned codePage);
// The last name of a path if it is a plain one, else the empty text.
std::string PlainNameIn(std::string_view path, unsigned codePage);

}  // namespace text
