#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/backup/backups.h"
#include "host/base/failure.h"
#include "host/cli/options.h"

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

// Prints it as the options want it and gives its code.
base::ExitCode Say(const Output& output, const Options& options);

}  // namespace host::cli
