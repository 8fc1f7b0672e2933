#include "host/engine/report.h"

#include "host/output/json_text.h"

namespace host {

namespace {

using nlohmann::json;

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

const char* ActWord(Act act) {
    constexpr std::array<const char*, 4> kWords = {"none", "add", "change", "remove"};
    return kWords[static_cast<std::size_t>(act)];
}

json ActionJson(const SideAction& action) {
    json fields = json::array();
    for (Field field : kAllFields) {
        if (action.fields.Has(field)) fields.push_back(FieldName(field));
    }
    json result = {{"action", ActWord(action.act)}};
    if (!fields.empty()) result["fields"] = std::move(fields);
    return result;
}

json NoticesJson(const std::vector<Notice>& notices) {
    json result = json::array();
    for (const Notice& notice : notices) {
        result.push_back({{"name", notice.name}, {"text", notice.text}});
    }
    return result;
}

json PlanJson(const Plan& plan) {
    json changes = json::array();
    for (const Step& step : plan.steps) {
        if (step.eudora.act == Act::kNone && step.folder.act == Act::kNone) continue;
        json change = {{"name", step.name}};
        if (step.eudora.act != Act::kNone) change["eudora"] = ActionJson(step.eudora);
        if (step.folder.act != Act::kNone) change["folder"] = ActionJson(step.folder);
        if (!step.renamedTo.empty()) change["renamedTo"] = step.renamedTo;
        changes.push_back(std::move(change));
    }
    return {{"changes", std::move(changes)},
            {"conflicts", NoticesJson(plan.conflicts)},
            {"refused", NoticesJson(plan.refused)},
            {"leftAlone", plan.passedOver},
            {"kept", plan.kept}};
}

}  // namespace

void FinishReport(Report& report, json body) {
    body["result"] = ResultWord(report.code);
    body["errors"] = report.errors;
    report.json = JsonText(body);
}

Report RefusalReport(const platform::Failure& failure) {
    Report report;
    report.code = CodeOf(failure);
    report.errors.push_back(failure.Message());
    FinishReport(report, json::object());
    return report;
}

Report PlanReport(const Plan& plan, const std::vector<std::string>& errors, bool countsOnly) {
    Report report;
    report.lines = DescribePlan(plan, countsOnly);
    report.errors = errors;
    if (!errors.empty()) {
        report.code = ExitCode::kFailed;
    } else if (!plan.conflicts.empty() || !plan.refused.empty()) {
        report.code = ExitCode::kConflictsLeft;
    } else if (plan.ChangesAnything()) {
        report.code = ExitCode::kChangesMade;
    }
    FinishReport(report, PlanJson(plan));
    return report;
}

}  // namespace host
