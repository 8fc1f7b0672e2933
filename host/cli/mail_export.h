#pragma once

#include "host/cli/options.h"

namespace host::cli {

// Writes the mails of all mailboxes, or of those in the options, into the Maildir++ in `toFolder`:
// the in-box is the inbox, each other mailbox a folder. All mails and attachments, unless limits
// are given. What an earlier export put there stays, and is not written again.
base::ExitCode ExportMail(const Options& options);

}  // namespace host::cli
