#pragma once

#include "host/cli/options.h"

namespace host::cli {

// The commands for contacts. Failures that end a command are thrown as Ended.
base::ExitCode ListContacts(const Options& options);
base::ExitCode ShowContact(const Options& options);
base::ExitCode ExportContacts(const Options& options);
// Chooses the nickname file, by an option or in the translator's own dialog.
base::ExitCode ConfigureContacts(const Options& options);

}  // namespace host::cli
