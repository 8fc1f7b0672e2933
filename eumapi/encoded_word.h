#pragma once

#include <string>
#include <string_view>

namespace eumapi {

// Header text with its encoded words ("=?charset?B?...?=") turned into text of the code page. A run
// of them that is damaged, has an unknown character set or a character that the code page lacks
// stays as it stands. Bytes below a blank become blanks.
std::string DecodeHeader(std::string_view text, unsigned codePage);

}  // namespace eumapi
