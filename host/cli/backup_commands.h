#pragma once

#include "host/cli/options.h"

// The commands about backups. Both keep to the Eudora that the options name, if they name one.
namespace host::cli {

// Prints a line for each backup, oldest first; with a `record` the files of that one; with `prune`
// it removes the old ones first and prints those alone.
base::ExitCode ListBackups(const Options& options);
// Puts the backup with the id in `record` back, of `what` alone if that is not empty; the files
// that it replaces become a backup.
base::ExitCode Restore(const Options& options);

}  // namespace host::cli
