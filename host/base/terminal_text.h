#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host::base {

// The text with each character that would drive the terminal or turn the order of text around, and
// each byte that is no UTF-8, replaced by one that can be seen; line ends and tabs stay.
std::string Visible(std::string_view text);
// The same, with line ends and tabs replaced too.
std::string OneLine(std::string_view text);
// The same of JSON, in which each such character becomes an escape.
std::string EscapedJson(std::string_view json);

// In columns of the terminal; East Asian characters take two.
std::size_t Width(const std::string& text);
// With blanks up to that width.
std::string Padded(std::string text, std::size_t width);
// Cut at a whole character to that width at most, then padded.
std::string Column(const std::string& text, std::size_t width);

}  // namespace host::base
