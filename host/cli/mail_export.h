#pragma once

#include "host/cli/options.h"

namespace host::cli {

// Writes the mails of all mailboxes, or of those in the options, into `toFolder` in the format of
// the options: a Maildir++, whose inbox is the in-box, a file each, or a folder of files each. All
// mails and attachments, unless limits are given. What an earlier export put there stays, and is
// not written again.
base::ExitCode ExportMail(const Options& options);

}  // namespace host::cli
