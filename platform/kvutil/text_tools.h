#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvutil {

// The last `count` bytes of the text; one fewer if that would begin with the second half of a
// character of the code page. Code page 0 knows no double-byte characters.
std::string_view LastBytes(std::string_view text, std::size_t count, unsigned codePage);

// Replaces the first `count` occurrences of `find` from the left, all of them if `count` is
// negative. A replacement is not searched again; an empty `find` occurs nowhere.
void ReplaceText(std::string& text, std::string_view find, std::string_view replacement, int count);

// The path whole if it has at most `limit` bytes, else its beginning, "..." and its end, cut at
// whole characters, with at most `limit` bytes together. A limit below 3 leaves that many dots.
std::string ShortenPath(std::string_view path, std::size_t limit, unsigned codePage);

}  // namespace kvutil
