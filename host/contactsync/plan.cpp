#include "host/contactsync/plan.h"

#include <algorithm>
#include <array>

namespace host::contactsync {

namespace {

struct Counts {
    int added = 0, changed = 0, removed = 0;

    void Add(Act act) {
        added += act == Act::kAdd;
        changed += act == Act::kChange;
        removed += act == Act::kRemove;
    }
    bool IsEmpty() const { return added + changed + removed == 0; }
    std::string Text() const {
        return std::to_string(added) + " added, " + std::to_string(changed) + " changed, " +
               std::to_string(removed) + " removed";
    }
};

std::string Fields(base::FieldSet set) {
    std::string text;
    for (base::Field field : base::kAllFields) {
        if (set.Has(field)) text.append(text.empty() ? "" : ", ").append(base::FieldName(field));
    }
    return text;
}

void DescribeAction(const SideAction& action, const Step& step, const char* side,
                    std::vector<std::string>& lines) {
    if (action.act == Act::kNone) return;
    constexpr std::array<const char*, 4> kVerbs = {"", "add to ", "change in ", "remove from "};
    std::string line = kVerbs[static_cast<std::size_t>(action.act)];
    line.append(side).append(": ").append(
        action.act == Act::kAdd ? base::DisplayName(action.values, step.name) : step.name);
    if (action.act == Act::kChange) line += " (" + Fields(action.fields) + ")";
    if (action.fields.Has(base::Field::kNickname) && !step.renamedTo.empty()) {
        line += " -> " + step.renamedTo;
    }
    lines.push_back(std::move(line));
}

}  // namespace

bool Plan::ChangesEudora() const {
    return std::any_of(steps.begin(), steps.end(),
                       [](const Step& step) { return step.eudora.act != Act::kNone; });
}

bool Plan::ChangesAnything() const {
    return ChangesEudora() || std::any_of(steps.begin(), steps.end(), [](const Step& step) {
               return step.folder.act != Act::kNone;
           });
}

bool Plan::IsEmpty() const {
    return steps.empty() && !dropIntents;
}

std::vector<std::string> DescribePlan(const Plan& plan, bool countsOnly) {
    std::vector<std::string> lines;
    Counts eudora, folder;
    for (const Step& step : plan.steps) {
        eudora.Add(step.eudora.act);
        folder.Add(step.folder.act);
        if (countsOnly) continue;
        DescribeAction(step.eudora, step, "Eudora", lines);
        DescribeAction(step.folder, step, "the folder", lines);
    }
    for (const Notice& conflict : plan.conflicts) {
        lines.push_back("conflict: " + conflict.name + ": " + conflict.text);
    }
    for (const Notice& refused : plan.refused) {
        lines.push_back("refused by Eudora: " + refused.name + ": " + refused.text);
    }
    for (const std::string& one : plan.passedOver) lines.push_back("left alone: " + one);
    if (eudora.IsEmpty() && folder.IsEmpty()) {
        lines.push_back("contacts: nothing to do");
    } else {
        lines.push_back("contacts: in Eudora " + eudora.Text() + "; in the folder " +
                        folder.Text());
    }
    if (plan.kept > 0) {
        lines.push_back(std::to_string(plan.kept) +
                        " vCards hold more than Eudora can; it stays in them");
    }
    return lines;
}

}  // namespace host::contactsync
