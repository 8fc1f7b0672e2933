#include "host/base/report.h"

#include <nlohmann/json.hpp>

#include "host/base/json_text.h"

namespace host::base {

namespace {

const char* ResultWord(ExitCode code) {
    switch (code) {
        case ExitCode::kNothingToDo:
            return "nothing to do";
        case ExitCode::kChangesMade:
            return "changes made";
        case ExitCode::kConflictsLeft:
            return "conflicts left";
        case ExitCode::kRefused:
            return "refused";
        default:
            return "failed";
    }
}

}  // namespace

void FinishReport(Report& report, nlohmann::json body) {
    body["result"] = ResultWord(report.code);
    body["errors"] = report.errors;
    report.json = JsonText(body);
}

Report RefusalReport(const base::Failure& failure) {
    Report report;
    report.code = failure.exit;
    report.errors.push_back(failure.Message());
    FinishReport(report, nlohmann::json::object());
    return report;
}

}  // namespace host::base
