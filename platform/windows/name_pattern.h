#pragma once

#include <string_view>

namespace platform::windows {

// Whether a file name matches a pattern with * and ?, without regard to case; "*.*" matches every
// name. The system's search alone will not do: it also answers with files whose short name matches,
// "c.txtx" for "*.txt".
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

}  // namespace platform::windows
