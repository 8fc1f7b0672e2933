#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"

namespace host::cli {

// kvsync from its arguments (UTF-8, without the program's name) to its exit code.
base::ExitCode RunApplication(std::vector<std::string> arguments);

}  // namespace host::cli
