#pragma once

#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/sync/rules.h"

namespace host::cli {

// A sync of mails, or what it would do; the options name a Maildir. A failure: there is nothing to
// work on.
base::Result<Output> RunMail(Workplace& workplace, const Options& options,
                             const sync::CommandPlace& command, bool isStatus);

}  // namespace host::cli
