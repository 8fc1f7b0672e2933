#pragma once

#include <nlohmann/json.hpp>

#include "host/engine/commands.h"
#include "host/engine/plan.h"

namespace host {

// A report that says only why nothing was done.
Report RefusalReport(const platform::Failure& failure);
// The report of a plan that was carried out, or would be.
Report PlanReport(const Plan& plan, const std::vector<std::string>& errors, bool countsOnly);
// Fills `json` from the code, the errors and `body`.
void FinishReport(Report& report, nlohmann::json body);

}  // namespace host
