#pragma once

#include <string>
#include <vector>

namespace cases {

// Runs a command line of the shell in a terminal of 80 x 25 characters. Each line of input names
// keys (Up, Down, Tab, Enter, Esc, ...), text to type, or "look", which tells what the screen
// shows. They are typed when the program waits for them; what the screen shows in the end is told
// too. The result is the exit code.
int RunInTerminal(const std::string& line, const std::vector<std::string>& input,
                  std::vector<std::string>& told);

}  // namespace cases
