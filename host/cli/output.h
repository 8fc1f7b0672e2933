#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/backup/backups.h"
#include "host/base/failure.h"
#include "host/cli/options.h"
#include "host/eudora/outside_names.h"
#include "host/sync/report.h"

namespace host::cli {

// What a command has to say: `lines` for standard output, `errors` for standard error, and `json`,
// the same as one object.
struct Output {
    base::ExitCode code = base::ExitCode::kNothingToDo;
    std::vector<std::string> lines = {};
    std::vector<std::string> errors = {};
    nlohmann::ordered_json json = nlohmann::ordered_json::object();

    // Fills `json` from the code, the errors and `body`.
    void Finish(nlohmann::json body);
};

// Why nothing was done.
Output RefusalOutput(const base::Failure& failure);
Output BackupsOutput(const std::vector<backup::Backup>& backups);
// `before` is the backup of what was in the place of the one with that id.
Output RestoreOutput(const std::string& id, const backup::Backup& before);
Output ExportOutput(std::size_t contacts, const std::string& toFolder);

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

// Prints it as the options want it and gives its code.
base::ExitCode Say(const Output& output, const Options& options);

}  // namespace host::cli
