#pragma once

#include <string>
#include <vector>

#include "host/cli/output.h"
#include "host/eudora/outside_names.h"
#include "host/sync/report.h"

namespace host::cli {

// Which sync a report is of.
enum class Subject { kContacts, kMails };

// With `countsOnly` no line for each contact or mail.
Output SyncOutput(const sync::Report& report, Subject subject, bool countsOnly);
// `head` stands in front: what the sync is between.
Output StatusOutput(const sync::Preview& preview, std::vector<std::string> head, Subject subject,
                    bool countsOnly);
// Both in one; the code is the one that a person has to know first.
Output Joined(const Output& contacts, const Output& mails);

// Adds to the status that Eudora runs, if `free` is a failure, and which names lead out of its
// folder; these are errors unless links are followed.
void TellEudora(Output& status, const base::Status& free,
                const std::vector<eudora::OutsideName>& outside, bool followLinks);

}  // namespace host::cli
