#pragma once

#include "host/cli/options.h"

namespace CLI {  // NOLINT(readability-identifier-naming): the name of the library
class App;
}

namespace host::cli {

// Prints a script that completes the command line of `app` in the shell that the options name:
// "bash", "zsh" or "fish".
base::ExitCode PrintCompletion(const CLI::App& app, const Options& options);

}  // namespace host::cli
