#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/base/failure.h"
#include "host/cli/options.h"
#include "host/eudora/outside_names.h"
#include "host/sync/report.h"

namespace host::cli {

// The output of a command, in UTF-8: `lines` for standard output, `errors` for standard error, and
// `json`, both as one object.
struct Output {
    base::ExitCode code = base::ExitCode::kNothingToDo;
    std::vector<std::string> lines = {};
    std::vector<std::string> errors = {};
    nlohmann::ordered_json json = nlohmann::ordered_json::object();

    // Fills `json` from the code, the errors and `body`; docs/json.md describes the result.
    void Finish(nlohmann::json body);
};

// "512 bytes", "12 KB", "3 MB", of 1000 each, rounded up.
std::string SizeText(std::uint64_t bytes);

// A failure that kept a command from its work.
Output RefusalOutput(const base::Failure& failure);

Output ExportOutput(std::size_t contacts, const std::string& toFolder);

// Which records a report is of.
enum class Subject { kContacts, kMails };

// The result of a sync; `countsOnly` leaves out the lines for single contacts and mails,
// `withDetails` tells all.
Output SyncOutput(const sync::Report& report, Subject subject, bool countsOnly, bool withDetails);
// The result of a status; `head` has the lines in front, which name both sides.
Output StatusOutput(const sync::Preview& preview, std::vector<std::string> head, Subject subject,
                    bool countsOnly);
// What waits for a decision; kConflictsLeft if anything does.
Output ConflictsOutput(const sync::Preview& preview, Subject subject);
// Several address books in one, each below its name.
Output Collected(const std::vector<std::pair<std::string, Output>>& books);
// Both in one, with the more important exit code: failed, refused, conflicts left, changes made.
Output Joined(const Output& contacts, const Output& mails);

// Adds to a status whether Eudora runs, which it does if `free` is a failure, and the names that
// lead out of its folder. These are errors unless links are followed.
void TellEudora(Output& status, const base::Status& free,
                const std::vector<eudora::OutsideName>& outside, bool followLinks);

// Prints the output, as JSON or as lines, and gives its exit code.
base::ExitCode Say(const Output& output, const Options& options);

}  // namespace host::cli
