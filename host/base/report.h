#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/base/failure.h"

namespace host::base {

// What a command has to say: `lines` for standard output, `errors` for standard error, and `json`,
// the same as `lines` and `errors` as one JSON object.
struct Report {
    ExitCode code = ExitCode::kNothingToDo;
    std::vector<std::string> lines;
    std::vector<std::string> errors;
    std::string json;
};

// A report that says only why nothing was done.
Report RefusalReport(const base::Failure& failure);
// Fills `json` from the code, the errors and `body`.
void FinishReport(Report& report, nlohmann::json body);

}  // namespace host::base
