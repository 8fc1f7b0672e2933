#include "host/mailsync/mail_report.h"

#include "host/engine/report.h"
#include "host/maildir/maildir_name.h"

namespace host {

namespace {

using nlohmann::json;

const char* Verb(const MailStep& step) {
    switch (step.act) {
        case MailAct::kCompose:
            return "add";
        case MailAct::kSetFlags:
            return HasFlag(step.row.flags, 'S') ? "mark read" : "mark unread";
        case MailAct::kRemove:
            return "remove";
        default:
            return nullptr;
    }
}

// "1 mail", "2 mails".
std::string Mails(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " mail" : " mails");
}

std::string Files(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

std::string Counts(const MailPlan& plan) {
    if (!plan.ChangesFolder()) return "mails: nothing to do";
    return "mails: in the Maildir " + std::to_string(plan.Count(MailAct::kCompose)) + " added, " +
           std::to_string(plan.Count(MailAct::kSetFlags)) + " changed, " +
           std::to_string(plan.Count(MailAct::kRemove)) + " removed";
}

void DescribeLeft(const MailPlan& plan, std::vector<std::string>& lines) {
    if (plan.dropped > 0) {
        lines.push_back(Mails(plan.dropped) +
                        " of Eudora's removed in the Maildir: not added there again");
    }
    if (plan.kept > 0) {
        lines.push_back(Files(plan.kept) +
                        " flagged or draft in the Maildir, gone from Eudora: left there");
    }
    if (plan.readInFolder > 0) {
        lines.push_back("read state of " + Mails(plan.readInFolder) +
                        " changed in the Maildir alone: left as it is on both sides");
    }
    if (plan.foreign > 0) {
        lines.push_back(Files(plan.foreign) +
                        " in the Maildir not from Eudora's in-box: left alone");
    }
}

json StepsJson(const MailPlan& plan) {
    json changes = json::array();
    for (const MailStep& step : plan.steps) {
        const char* const verb = Verb(step);
        if (verb == nullptr) continue;
        changes.push_back({{"name", step.row.name},
                           {"id", step.row.id},
                           {"messageId", step.row.messageId},
                           {"action", verb}});
    }
    return changes;
}

}  // namespace

std::vector<std::string> DescribeMailPlan(const MailPlan& plan, const std::string& limits,
                                          bool countsOnly) {
    std::vector<std::string> lines;
    for (const MailStep& step : plan.steps) {
        const char* const verb = Verb(step);
        if (verb == nullptr || countsOnly) continue;
        lines.push_back(std::string(verb) + " in the Maildir: " + step.row.name);
        if (step.act == MailAct::kCompose) lines.back().replace(4, 2, "to");
        if (step.act == MailAct::kRemove) lines.back().replace(7, 2, "from");
    }
    lines.push_back(Counts(plan));
    DescribeLeft(plan, lines);
    if (!limits.empty()) lines.push_back(limits);
    return lines;
}

Report MailPlanReport(const MailPlan& plan, const std::string& limits,
                      const std::vector<std::string>& errors, const std::vector<std::string>& notes,
                      bool countsOnly) {
    Report report;
    report.lines = DescribeMailPlan(plan, limits, countsOnly);
    for (const std::string& note : notes) report.lines.push_back(note);
    report.errors = errors;
    if (!errors.empty()) {
        report.code = ExitCode::kFailed;
    } else if (plan.ChangesFolder()) {
        report.code = ExitCode::kChangesMade;
    }
    FinishReport(report, {{"changes", StepsJson(plan)},
                          {"removedInMaildir", plan.dropped},
                          {"keptInMaildir", plan.kept},
                          {"readStateInMaildirOnly", plan.readInFolder},
                          {"otherFiles", plan.foreign},
                          {"limits", limits},
                          {"notes", notes}});
    return report;
}

}  // namespace host
