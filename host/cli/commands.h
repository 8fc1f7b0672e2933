#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/cli/options.h"

namespace host::cli {

// How a command ends. A failure is left to be told; what came before it has been.
using Ending = base::Result<base::ExitCode>;

// The commands of kvsync. Each says on standard output what it has to say.
Ending ListContacts(const Options& options);
Ending ShowContact(const Options& options, const std::string& nickname);
Ending ListMail(const Options& options);
// `id` is a record id ("0x" and eight digits) or a Message-ID.
Ending ShowMail(const Options& options, const std::string& id);
Ending ExportMail(const Options& options, const std::string& toFolder);
// `script` is native; empty for standard input.
Ending Shell(const Options& options, unsigned long kind, const std::string& script);
Ending Doctor(const Options& options);
// `what` is "contacts", "mail", or empty for both as far as their folders are named.
Ending Sync(const Options& options, const std::string& what);
Ending Status(const Options& options);
Ending ExportContacts(const Options& options, const std::string& toFolder);
Ending ListBackups(const Options& options);
Ending Restore(const Options& options, const std::string& id);

}  // namespace host::cli
