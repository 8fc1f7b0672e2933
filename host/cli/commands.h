#pragma once

#include <string>

#include "host/cli/options.h"
#include "host/module/exit_code.h"

namespace host {

// The commands of kvsync. Each says on standard output what it has to say, gives its failures as
// one line on standard error, and gives the exit code.
ExitCode ListContacts(const Options& options);
ExitCode ShowContact(const Options& options, const std::string& nickname);
ExitCode ListMail(const Options& options);
// `id` is a record id ("0x" and eight digits) or a Message-ID.
ExitCode ShowMail(const Options& options, const std::string& id);
ExitCode ExportMail(const Options& options, const std::string& toFolder);
ExitCode ConfigureContacts(const Options& options);
// `script` is native; empty for standard input.
ExitCode Shell(const Options& options, unsigned long kind, const std::string& script);
ExitCode Doctor(const Options& options);
// `what` is "contacts", "mail", or empty for both as far as their folders are named.
ExitCode Sync(const Options& options, const std::string& what);
ExitCode Status(const Options& options);
ExitCode ExportContacts(const Options& options, const std::string& toFolder);
ExitCode ListBackups(const Options& options);
ExitCode Restore(const Options& options, const std::string& id);

// Says it in one line on standard error and gives the code of the failure.
ExitCode Fail(const platform::Failure& failure);

}  // namespace host
