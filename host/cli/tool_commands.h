#pragma once

#include "host/cli/options.h"

// The commands about the set-up and the translator interface.
namespace host::cli {

// Runs the operations of the script, or of standard input, on the translator interface.
base::ExitCode Shell(const Options& options);
// Prints the state of everything that a run needs, with advice for each fault.
base::ExitCode Doctor(const Options& options);
// Prints the mailboxes of Eudora's folder, what each holds and what is wrong with it.
base::ExitCode Mailboxes(const Options& options);
// Makes the table of the mailbox in `record` anew from its text, after a backup.
base::ExitCode Rebuild(const Options& options);

}  // namespace host::cli
