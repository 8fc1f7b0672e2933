#pragma once

#include <string>
#include <vector>

#include "host/base/report.h"
#include "host/sync/report.h"

namespace host::cli {

// Which sync a report is of.
enum class Subject { kContacts, kMails };

// With `countsOnly` no line for each contact or mail.
base::Report SyncOutput(const base::Result<sync::Report>& report, Subject subject, bool countsOnly);
// `head` stands in front: what the sync is between.
base::Report StatusOutput(const sync::Preview& preview, std::vector<std::string> head,
                          Subject subject, bool countsOnly);

}  // namespace host::cli
