#pragma once

#include <string>

#include "host/base/failure.h"

namespace CLI {
class App;
}

namespace host::cli {

// Prints a script that completes the command line of `app` in a shell: "bash", "zsh" or "fish".
base::ExitCode PrintCompletion(const CLI::App& app, const std::string& shell);

}  // namespace host::cli
