#pragma once

#include "host/cli/options.h"

namespace host::cli {

base::ExitCode Shell(const Options& options);
base::ExitCode Doctor(const Options& options);

}  // namespace host::cli
