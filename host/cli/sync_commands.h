#pragma once

#include "host/cli/options.h"

// The commands about syncs.
namespace host::cli {

// All work on the subject that the options name, else on contacts and mails as far as
// their folders are named.
base::ExitCode Sync(const Options& options);
base::ExitCode Status(const Options& options);
// Prints what waits for a decision, with both values.
base::ExitCode Conflicts(const Options& options);
// Settles the conflict with the name in `record` for the side in `take`, and does nothing else.
base::ExitCode Resolve(const Options& options);
// Forgets what is remembered of both sides, once a person agreed.
base::ExitCode Forget(const Options& options);

}  // namespace host::cli
