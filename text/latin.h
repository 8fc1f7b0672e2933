#pragma once

#include <optional>
#include <string_view>

// Characters that look like some of ASCII.
namespace text {

// What reads like the character in ASCII: the letter without its marks, the letters of a ligature,
// a plain quotation mark, dash or blank; empty for a combining mark. Nothing if none does.
std::optional<std::string_view> PlainForm(char32_t character);

}  // namespace text
