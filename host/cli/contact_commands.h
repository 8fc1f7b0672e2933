#pragma once

#include "host/cli/options.h"

namespace host::cli {

// What kvsync does with contacts alone.
base::ExitCode ListContacts(const Options& options);
base::ExitCode ShowContact(const Options& options);
base::ExitCode ExportContacts(const Options& options);
// Chooses the nickname file, by an option or in the translator's own dialog.
base::ExitCode ConfigureContacts(const Options& options);

}  // namespace host::cli
