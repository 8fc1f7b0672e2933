#include "host/contactsync/contact_report.h"

#include <nlohmann/json.hpp>

namespace host::contactsync {

namespace {

using nlohmann::json;

const char* ActWord(Act act) {
    constexpr std::array<const char*, 4> kWords = {"none", "add", "change", "remove"};
    return kWords[static_cast<std::size_t>(act)];
}

json ActionJson(const SideAction& action) {
    json fields = json::array();
    for (base::Field field : base::kAllFields) {
        if (action.fields.Has(field)) fields.push_back(base::FieldName(field));
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

base::Report PlanReport(const Plan& plan, const std::vector<std::string>& errors, bool countsOnly) {
    base::Report report;
    report.lines = DescribePlan(plan, countsOnly);
    report.errors = errors;
    if (!errors.empty()) {
        report.code = base::ExitCode::kFailed;
    } else if (!plan.conflicts.empty() || !plan.refused.empty()) {
        report.code = base::ExitCode::kConflictsLeft;
    } else if (plan.ChangesAnything()) {
        report.code = base::ExitCode::kChangesMade;
    }
    base::FinishReport(report, PlanJson(plan));
    return report;
}

}  // namespace host::contactsync
