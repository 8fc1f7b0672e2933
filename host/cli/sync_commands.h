#pragma once

#include "host/cli/options.h"

namespace host::cli {

// Contacts, mails or both, as far as their folders are named; then those of their backups.
base::ExitCode Sync(const Options& options);
base::ExitCode Status(const Options& options);
base::ExitCode ListBackups(const Options& options);
// Puts the backup of that id back; what was in its place becomes a backup too.
base::ExitCode Restore(const Options& options);

}  // namespace host::cli
