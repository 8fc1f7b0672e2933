#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"

namespace host::cli {

// Runs kvsync with its arguments, in UTF-8 and without the program's name, and gives its exit code.
// Failures are printed on standard error.
base::ExitCode RunApplication(std::vector<std::string> arguments);

}  // namespace host::cli
