#pragma once

#include <string_view>

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

}  // namespace host::base
