#pragma once

#include <string>
#include <vector>

#include "host/engine/commands.h"
#include "host/mailsync/mail_plan.h"

namespace host {

// The lines that a report shows of a plan: one for each mail that changes, unless `countsOnly`,
// and the counts. `limits` says what the limits leave out; empty if nothing.
std::vector<std::string> DescribeMailPlan(const MailPlan& plan, const std::string& limits,
                                          bool countsOnly);

// The report of a plan that was carried out, or would be. `notes` are lines of their own.
Report MailPlanReport(const MailPlan& plan, const std::string& limits,
                      const std::vector<std::string>& errors, const std::vector<std::string>& notes,
                      bool countsOnly);

}  // namespace host
