#pragma once

#include <string>
#include <vector>

#include "host/base/report.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/mail_plan.h"

namespace host::mailsync {

// The lines that a report shows of a plan: one for each mail that changes, unless `countsOnly`,
// and the counts. `limits` says what the limits leave out; empty if nothing.
std::vector<std::string> DescribeMailPlan(const MailPlan& plan, const std::string& limits,
                                          bool countsOnly);

// The report of a plan that would be carried out, or of the steps of it that were: `outcome` is
// null before. A step that failed has an error of its own or shares one with the others.
base::Report MailPlanReport(const MailPlan& plan, const std::string& limits,
                            const MailOutcome* outcome, bool countsOnly);

}  // namespace host::mailsync
