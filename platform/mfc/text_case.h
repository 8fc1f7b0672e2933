#pragma once

#include <string>
#include <string_view>

// Comparison of texts in the system code page. Case is that of the ASCII letters, as in the C
// locale; the second byte of a double-byte character is never taken for a letter where the code
// page is given.
namespace platform {

bool EqualNoCase(std::string_view a, std::string_view b);
std::string UpperCase(std::string_view text, unsigned codePage);
// Whether `part` occurs in `text`, beginning at a whole character. The empty text always does.
bool ContainsText(std::string_view text, std::string_view part, unsigned codePage);

}  // namespace platform
