#pragma once

#include <string>
#include <vector>

#include "host/base/report.h"
#include "host/contactsync/plan.h"

namespace host::contactsync {

// The report of a plan that was carried out, or would be.
base::Report PlanReport(const Plan& plan, const std::vector<std::string>& errors, bool countsOnly);

}  // namespace host::contactsync
