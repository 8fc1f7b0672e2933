#pragma once

#include <istream>
#include <string>

#include "host/shell/console.h"

namespace host::shell {

// A console on the translator interface: one operation a line in, one JSON object a line out, as
// soon as the operation is done. Empty lines and lines that begin with # are passed over. A line
// that cannot be used gives {"op":...,"error":...} and the next one is read.
void RunShell(Console& console, std::istream& in);

// The list of operations for the help text.
std::string ShellHelp();

}  // namespace host::shell
