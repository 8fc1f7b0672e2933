#pragma once

#include <string>
#include <vector>

#include "host/module/exit_code.h"

namespace host {

// kvsync from its arguments (UTF-8, without the program's name) to its exit code.
ExitCode RunApplication(std::vector<std::string> arguments);

}  // namespace host
