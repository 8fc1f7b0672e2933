#pragma once

#include "host/cli/options.h"

namespace host::cli {

// A console on the translator interface, of the script or of standard input; it ends with the
// input.
base::ExitCode Shell(const Options& options);
// What each run stands on, good or not, and what to do about each fault.
base::ExitCode Doctor(const Options& options);

}  // namespace host::cli
