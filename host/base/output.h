#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace host::base {

// All output of kvsync goes through here; tools/check_layers.sh checks it. Texts are UTF-8 from any
// source: file names, mails, vCards, the command line. Control characters and marks for the
// direction of text are printed as visible characters, and a line stays one line. What is printed
// is in the encoding of the user's locale.

// One line on standard output, flushed. False once output has failed, as on a closed pipe.
bool PrintLine(std::string_view text);
// Lines on standard output; line ends and tabs stay, and the last line gets an end if it has none.
void PrintText(std::string_view text);
// False once a part of the output has been lost, as on a full disk.
bool OutputIsWhole();
// One line on standard error, behind the program's name.
void PrintError(std::string_view text);
// One line of the log on standard error.
void PrintLog(std::string_view text);
// A line on standard error that the next one replaces; an empty one removes it.
void ShowProgress(std::string_view text);

// The text with control characters, marks for the direction of text and bytes that are no UTF-8
// replaced by visible characters; line ends and tabs stay.
std::string Visible(std::string_view text);
// The same, with line ends and tabs replaced too.
std::string OneLine(std::string_view text);
// JSON on one line, or indented by so many blanks. Bytes that are no UTF-8 become U+FFFD; control
// characters and marks for the direction of text are escapes, in a locale without UTF-8 all that is
// not ASCII.
std::string JsonText(const nlohmann::ordered_json& json, int indent = -1);

// "1 mail", "2 mails".
std::string Counted(std::size_t count, const char* what);
// The width of a text in columns of the terminal; East Asian characters take two.
std::size_t Width(const std::string& text);
// The text with blanks up to that width.
std::string Padded(std::string text, std::size_t width);
// The text cut at a whole character to that width, then padded.
std::string Column(std::string text, std::size_t width);

}  // namespace host::base
