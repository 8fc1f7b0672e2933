#pragma once

#include <cstddef>
#include <string>

namespace host {

// One line without characters that would drive the terminal: they become blanks.
std::string Printable(std::string text);

// Lines in which each character that would drive the terminal, or turn the order of the text
// around, can be seen instead; line ends and tabs stay.
std::string Visible(const std::string& text);

// In columns of the terminal; East Asian characters take two.
std::size_t Width(const std::string& text);
// With blanks up to that width.
std::string Padded(std::string text, std::size_t width);
// Cut at a whole character to that width at most, then padded.
std::string Column(const std::string& text, std::size_t width);

}  // namespace host
