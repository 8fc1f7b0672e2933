#include "host/mailsync/mail_report.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include <nlohmann/json.hpp>

#include "host/maildir/maildir_name.h"

namespace host::mailsync {

namespace {

using nlohmann::json;

struct Words {
    const char *before, *behind;  // of the name
    bool isEudora = false;
};

std::optional<Words> WordsOf(const MailStep& step) {
    const bool isRead = maildir::HasFlag(step.row.flags, 'S');
    switch (step.act) {
        case MailAct::kCompose:
            return Words{"add", "to the Maildir"};
        case MailAct::kSetFlags:
            return Words{isRead ? "mark read" : "mark unread", "in the Maildir"};
        case MailAct::kRemove:
            return Words{"remove", "from the Maildir"};
        case MailAct::kAdd:
            return Words{"add", "to Eudora", true};
        case MailAct::kMark:
            return Words{isRead ? "mark read" : "mark unread", "in Eudora", true};
        case MailAct::kErase:
            return Words{"remove", "from Eudora", true};
        case MailAct::kSend:
            return Words{"queue", "in Eudora's Out", true};
        case MailAct::kFile:
            return Words{"move", "to .Sent, queued before"};
        default:
            return std::nullopt;
    }
}

// "1 mail", "2 mails".
std::string Mails(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " mail" : " mails");
}

std::string Files(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

std::string Counts(const MailPlan& plan, std::size_t undone) {
    if (!plan.ChangesFolder() && !plan.ChangesEudora()) {
        return undone > 0 ? "mails: nothing done" : "mails: nothing to do";
    }
    const auto count = [&](MailAct act) { return std::to_string(plan.Count(act)); };
    std::string line = "mails: in Eudora " + count(MailAct::kAdd) + " added, " +
                       count(MailAct::kMark) + " changed, " + count(MailAct::kErase) +
                       " removed; in the Maildir " + count(MailAct::kCompose) + " added, " +
                       count(MailAct::kSetFlags) + " changed, " + count(MailAct::kRemove) +
                       " removed";
    if (plan.Count(MailAct::kSend) > 0) line += "; " + count(MailAct::kSend) + " queued to be sent";
    return line;
}

void DescribeLeft(const MailPlan& plan, std::vector<std::string>& lines) {
    for (const std::string& conflict : plan.conflicts) {
        lines.push_back("conflict, left as it is (--prefer decides): " + conflict);
    }
    if (plan.dropped > 0) {
        lines.push_back(Mails(plan.dropped) +
                        " of Eudora's removed in the Maildir by earlier versions: kept in Eudora");
    }
    if (plan.kept > 0) {
        lines.push_back(Files(plan.kept) +
                        " flagged or draft in the Maildir, gone from Eudora: left there");
    }
    if (plan.drafts > 0) {
        lines.push_back(Files(plan.drafts) + " in the Maildir drafts: left alone");
    }
    if (plan.held > 0) {
        lines.push_back(Mails(plan.held) +
                        " missing on one side: left on the other until all can be read");
    }
}

json StepsJson(const MailPlan& plan) {
    json changes = json::array();
    for (const MailStep& step : plan.steps) {
        const auto words = WordsOf(step);
        if (!words) continue;
        changes.push_back({{"name", step.row.name},
                           {"id", step.row.id},
                           {"messageId", step.row.messageId},
                           {"side", words->isEudora ? "eudora" : "maildir"},
                           {"action", words->before}});
    }
    return changes;
}

std::size_t Changes(const MailPlan& plan) {
    return static_cast<std::size_t>(std::ranges::count_if(
        plan.steps, [](const MailStep& step) { return WordsOf(step).has_value(); }));
}

std::vector<std::string> Describe(const MailPlan& plan, const std::string& limits, bool countsOnly,
                                  std::size_t undone) {
    std::vector<std::string> lines;
    for (const MailStep& step : plan.steps) {
        const auto words = WordsOf(step);
        if (!words || countsOnly) continue;
        lines.push_back(std::string(words->before) + ' ' + words->behind + ": " + step.row.name);
    }
    lines.push_back(Counts(plan, undone));
    if (undone > 0) lines.push_back(Mails(undone) + " left to the next run");
    DescribeLeft(plan, lines);
    if (!limits.empty()) lines.push_back(limits);
    return lines;
}

MailPlan WhatWasDone(const MailPlan& planned, const std::vector<bool>& done) {
    MailPlan plan = planned;
    plan.steps.clear();
    for (const MailStep& step : planned.steps) {
        if (done[planned.IndexOf(step)]) plan.steps.push_back(step);
    }
    return plan;
}

}  // namespace

std::vector<std::string> DescribeMailPlan(const MailPlan& plan, const std::string& limits,
                                          bool countsOnly) {
    return Describe(plan, limits, countsOnly, 0);
}

base::Report MailPlanReport(const MailPlan& planned, const std::string& limits,
                            const MailOutcome* outcome, bool countsOnly) {
    const MailPlan plan = outcome != nullptr ? WhatWasDone(planned, outcome->done) : planned;
    const std::vector<std::string> notes =
        outcome != nullptr ? outcome->notes : std::vector<std::string>();
    const std::size_t undone = Changes(planned) - Changes(plan);
    base::Report report;
    report.lines = Describe(plan, limits, countsOnly, undone);
    report.lines.insert(report.lines.end(), notes.begin(), notes.end());
    report.errors = plan.unread;
    if (outcome != nullptr) std::ranges::copy(outcome->errors, std::back_inserter(report.errors));
    if (!report.errors.empty()) {
        report.code = base::ExitCode::kFailed;
    } else if (!plan.conflicts.empty()) {
        report.code = base::ExitCode::kConflictsLeft;
    } else if (plan.ChangesFolder() || plan.ChangesEudora()) {
        report.code = base::ExitCode::kChangesMade;
    }
    FinishReport(report, {{"changes", StepsJson(plan)},
                          {"notCarriedOut", undone},
                          {"conflicts", plan.conflicts},
                          {"removedInMaildir", plan.dropped},
                          {"keptInMaildir", plan.kept},
                          {"draftsInMaildir", plan.drafts},
                          {"waitingToBeRemoved", plan.held},
                          {"limits", limits},
                          {"notes", notes}});
    return report;
}

}  // namespace host::mailsync
