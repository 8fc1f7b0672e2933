#pragma once

#include "host/cli/options.h"

namespace host::cli {

// Contacts, mails or both, as far as their folders are named; then those of their backups.
base::ExitCode Sync(const Options& options);
base::ExitCode Status(const Options& options);
base::ExitCode ListBackups(const Options& options);
base::ExitCode Restore(const Options& options);

}  // namespace host::cli
