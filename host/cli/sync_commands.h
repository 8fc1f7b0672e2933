#pragma once

#include "host/cli/options.h"

// The commands about syncs and their backups.
namespace host::cli {

// Both work on the subject that the options name, else on contacts and mails as far as their
// folders are named.
base::ExitCode Sync(const Options& options);
base::ExitCode Status(const Options& options);
// Prints a line for each backup, oldest first.
base::ExitCode ListBackups(const Options& options);
// Puts the backup with the id in `record` back; the files that it replaces become a backup.
base::ExitCode Restore(const Options& options);

}  // namespace host::cli
