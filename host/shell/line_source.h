#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <string>

namespace host::shell {

// Gives the next line, without its end; nothing after the last one.
using LineSource = std::function<std::optional<std::string>()>;

// The lines of `in`, which outlives the source.
LineSource LinesOf(std::istream& in);

// The lines that a person types at the terminal, which standard input and output are: behind a
// prompt, with keys that edit a line, call back an earlier one and complete the name of an
// operation. On Windows the console edits them, without prompt and completion.
LineSource LinesOfTerminal();

}  // namespace host::shell
