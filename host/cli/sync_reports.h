#pragma once

#include "host/cli/options.h"
#include "host/cli/workplace.h"
#include "host/engine/commands.h"

namespace host {

// A sync of contacts or of mails, or what it would do. kRefused if a folder is not named or there
// is nothing to work on.
platform::Result<Report> ReportContacts(Workplace& place, const Options& options,
                                        const CommandPlace& command, bool isStatus);
platform::Result<Report> ReportMail(Workplace& place, const Options& options,
                                    const CommandPlace& command, bool isStatus);

}  // namespace host
