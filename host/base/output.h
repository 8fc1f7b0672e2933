#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace host::base {

// The only way out of kvsync, which tools/check_layers.sh sees to. Texts are UTF-8 from anywhere:
// file names, mails, vCards, the command line. A character that would drive the terminal or turn
// the order of the text around is shown, and a line stays one line.

// One line on standard output, there when this returns. False once nobody takes it any more.
bool PrintLine(std::string_view text);
// Lines on standard output, whose line ends and tabs stay; the last one is ended if it is not.
void PrintText(std::string_view text);
// False once a part of the output has been lost, as on a full disk.
bool OutputIsWhole();
// One line on standard error, behind the program's name.
void PrintError(std::string_view text);
// One line of the log on standard error.
void PrintLog(std::string_view text);
// The line on standard error that the next one replaces; an empty one takes it away.
void ShowProgress(std::string_view text);

// The text with each character that would drive the terminal or turn the order of text around, and
// each byte that is no UTF-8, replaced by one that can be seen; line ends and tabs stay.
std::string Visible(std::string_view text);
// The same, with line ends and tabs replaced too.
std::string OneLine(std::string_view text);
// JSON on one line, or indented, of texts that may hold anything: bytes that are no UTF-8 become
// U+FFFD, and what would drive a terminal stands as an escape.
std::string JsonText(const nlohmann::ordered_json& json, int indent = -1);

// In columns of the terminal; East Asian characters take two.
std::size_t Width(const std::string& text);
// With blanks up to that width.
std::string Padded(std::string text, std::size_t width);
// Cut at a whole character to that width at most, then padded.
std::string Column(const std::string& text, std::size_t width);

}  // namespace host::base
