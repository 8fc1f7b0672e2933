#pragma once

#include <string>
#include <string_view>

// Comparison of texts in the system code page.
namespace platform {

// Case is that of the ASCII letters, as in the C locale.
bool EqualNoCase(std::string_view a, std::string_view b);
// Whether `part` occurs in `text`, beginning at a whole character. The empty text always does.
bool ContainsText(std::string_view text, std::string_view part, unsigned codePage);

}  // namespace platform
