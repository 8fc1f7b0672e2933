#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/cli/options.h"

namespace host::cli {

// The commands of kvsync. Each says on standard output what it has to say, gives its failures as
// one line on standard error, and gives the exit code.
base::ExitCode ListContacts(const Options& options);
base::ExitCode ShowContact(const Options& options, const std::string& nickname);
base::ExitCode ListMail(const Options& options);
// `id` is a record id ("0x" and eight digits) or a Message-ID.
base::ExitCode ShowMail(const Options& options, const std::string& id);
base::ExitCode ExportMail(const Options& options, const std::string& toFolder);
base::ExitCode ConfigureContacts(const Options& options);
// `script` is native; empty for standard input.
base::ExitCode Shell(const Options& options, unsigned long kind, const std::string& script);
base::ExitCode Doctor(const Options& options);
// `what` is "contacts", "mail", or empty for both as far as their folders are named.
base::ExitCode Sync(const Options& options, const std::string& what);
base::ExitCode Status(const Options& options);
base::ExitCode ExportContacts(const Options& options, const std::string& toFolder);
base::ExitCode ListBackups(const Options& options);
base::ExitCode Restore(const Options& options, const std::string& id);

// Says it in one line on standard error and gives the code of the failure.
base::ExitCode Fail(const base::Failure& failure);

}  // namespace host::cli
