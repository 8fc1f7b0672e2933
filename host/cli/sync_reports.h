#pragma once

#include "host/base/report.h"
#include "host/cli/options.h"
#include "host/cli/workplace.h"
#include "host/sync/place.h"

namespace host::cli {

// A sync of contacts or of mails, or what it would do. kRefused if a folder is not named or there
// is nothing to work on.
base::Result<base::Report> ReportContacts(Workplace& place, const Options& options,
                                          const sync::CommandPlace& command, bool isStatus);
base::Result<base::Report> ReportMail(Workplace& place, const Options& options,
                                      const sync::CommandPlace& command, bool isStatus);

}  // namespace host::cli
