#pragma once

#include "host/cli/options.h"

// The commands for contacts. Failures that end a command are thrown as Ended.
namespace host::cli {

// Prints a line for each contact, or all of them as JSON.
base::ExitCode ListContacts(const Options& options);
// Prints the fields of the contact with the nickname `record`, else with that name or e-mail
// address in any case; kRefused if there is none, or several.
base::ExitCode ShowContact(const Options& options);
// Writes all contacts as vCards into the folder `toFolder`, which must not hold any.
base::ExitCode ExportContacts(const Options& options);
// Chooses the nickname file, by an option or in the translator's own dialog.
base::ExitCode ConfigureContacts(const Options& options);

}  // namespace host::cli
