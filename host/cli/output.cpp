#include "host/cli/output.h"

#include <algorithm>

#include "host/base/output.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

using nlohmann::json;
using Json = nlohmann::ordered_json;
using sync::Side;
using sync::Verb;
using Lines = std::vector<std::string>;

// The word for the end of a run in JSON, by exit code.
constexpr const char* kResults[] = {"nothing to do", "failed",       "failed",
                                    "refused",       "changes made", "conflicts left"};

// The word for a change of a contact or a mail on one side.
const char* Word(const sync::Change& change, Side side, Subject subject) {
    // By verb.
    constexpr const char* kWords[] = {"none",  "add",  "change",       "remove",
                                      "queue", "move", "compose again"};
    const Verb verb = change.On(side).verb;
    if (verb != Verb::kChange || subject == Subject::kContacts) {
        return kWords[static_cast<int>(verb)];
    }
    return change.isRead ? "mark read" : "mark unread";
}

// The place of a change, to stand behind its word: "to Eudora".
std::string Place(Verb verb, Side side, Subject subject) {
    if (verb == Verb::kQueue) return "in Eudora's Out";
    if (verb == Verb::kFile) return "to .Sent, queued before";
    const char* const way = verb == Verb::kAdd ? "to " : verb == Verb::kRemove ? "from " : "in ";
    const char* const folder = subject == Subject::kContacts ? "the folder" : "the Maildir";
    return std::string(way) + (side == Side::kEudora ? "Eudora" : folder);
}

Lines FieldNames(base::FieldSet fields) {
    Lines names;
    for (base::Field field : base::kAllFields) {
        if (fields.Has(field)) names.emplace_back(base::FieldName(field));
    }
    return names;
}

// The line for what a change does on one side; none if it does nothing there.
void Describe(const sync::Change& change, Side side, Subject subject, Lines& lines) {
    const sync::Change::OnSide& there = change.On(side);
    if (there.verb == Verb::kNone) return;
    std::string line = std::string(Word(change, side, subject)) + ' ' +
                       Place(there.verb, side, subject) + ": " + there.name;
    if (!there.fields.IsEmpty()) {
        line += " (" + text::Joined(FieldNames(there.fields), ", ") + ')';
    }
    if (!there.inPart.IsEmpty()) {
        line +=
            " [as far as Eudora can hold it: " + text::Joined(FieldNames(there.inPart), ", ") + ']';
    }
    if (there.fields.Has(base::Field::kNickname) && !change.renamedTo.empty()) {
        line += " -> " + change.renamedTo;
    }
    lines.push_back(std::move(line));
}

// "1 added, 0 changed, 2 removed".
std::string CountsOf(const sync::Report& report, Side side) {
    const auto count = [&](Verb verb) { return std::to_string(report.Count(side, verb)); };
    return count(Verb::kAdd) + " added, " + count(Verb::kChange) + " changed, " +
           count(Verb::kRemove) + " removed";
}

// The line that sums up, which also a quiet run prints.
void AddCounts(const sync::Report& report, Subject subject, Lines& lines) {
    const bool isMail = subject == Subject::kMails;
    std::string line = isMail ? "mails: " : "contacts: ";
    if (report.changes.empty()) {
        line += report.undone > 0 ? "nothing done" : "nothing to do";
    } else {
        line += "in Eudora " + CountsOf(report, Side::kEudora) +
                (isMail ? "; in the Maildir " : "; in the folder ") +
                CountsOf(report, Side::kFolder);
        const std::size_t queued = report.Count(Side::kEudora, Verb::kQueue);
        if (queued > 0) line += "; " + std::to_string(queued) + " queued to be sent";
        const std::size_t renewed = report.Count(Side::kFolder, Verb::kRedo);
        if (renewed > 0) line += "; " + std::to_string(renewed) + " composed again";
    }
    lines.push_back(std::move(line));
}

void AddNotices(const std::vector<sync::Notice>& notices, const char* what, Lines& lines) {
    for (const sync::Notice& notice : notices) {
        lines.push_back(std::string(what) + ": " + notice.name + ": " + notice.text);
    }
}

// The lines of a report. Counts that only contacts or only mails have are 0 for the others.
Lines Describe(const sync::Report& report, Subject subject, bool countsOnly) {
    Lines lines;
    for (const sync::Change& change : report.changes) {
        if (countsOnly) break;
        Describe(change, Side::kEudora, subject, lines);
        Describe(change, Side::kFolder, subject, lines);
    }
    AddNotices(report.conflicts, "conflict", lines);
    AddNotices(report.refused, "refused by Eudora", lines);
    for (const std::string& one : report.leftAlone) lines.push_back("left alone: " + one);
    AddCounts(report, subject, lines);
    const auto left = [&](std::size_t count, const char* what, const char* text) {
        if (count > 0) lines.push_back(base::Counted(count, what) + ' ' + text);
    };
    left(report.richer, "vCard",
         "with more than Eudora can hold: the rest stays there (-v tells where)");
    left(report.further, "contact",
         "with further addresses: they stay in Eudora alone (-v names them)");
    left(report.conflicts.size(), "conflict",
         "waiting: kvsync resolve NAME --take eudora|folder decides");
    left(report.undone, subject == Subject::kMails ? "mail" : "contact", "left to the next run");
    left(report.dropped, "mail",
         "of Eudora's removed in the Maildir by earlier versions: kept in Eudora");
    left(report.kept, "file", "flagged or draft in the Maildir, gone from Eudora: left there");
    left(report.drafts, "file", "in the Maildir drafts: left alone");
    left(report.held, "mail", "missing on one side: left on the other until all can be read");
    if (!report.limits.empty()) lines.push_back(report.limits);
    return lines;
}

// Why nothing was done, and the first changes that there would have been too much of.
void TellStop(const sync::Report& report, Subject subject, Lines& errors) {
    constexpr std::size_t kMost = 20;
    errors.push_back(report.stop->why.Message());
    Lines stopped;
    for (const sync::Change& change : report.changes) {
        for (const Side side : {Side::kEudora, Side::kFolder}) {
            const sync::Stop& stop = *report.stop;
            const bool isIt = stop.verb != Verb::kNone && stop.side.value_or(side) == side &&
                              change.On(side).verb == stop.verb;
            if (isIt) Describe(change, side, subject, stopped);
        }
    }
    for (std::size_t i = 0; i < std::min(stopped.size(), kMost); ++i) {
        errors.push_back("stopped: " + stopped[i]);
    }
    if (stopped.size() > kMost) {
        errors.push_back("stopped: " + std::to_string(stopped.size() - kMost) +
                         " more; a dry run with that option lists all");
    }
}

// A change of a contact, with an action for each side that it changes.
json ContactJson(const sync::Change& change) {
    json result = {{"name", change.name}};
    for (const Side side : {Side::kEudora, Side::kFolder}) {
        const sync::Change::OnSide& there = change.On(side);
        if (there.verb == Verb::kNone) continue;
        json& told = result[side == Side::kEudora ? "eudora" : "folder"];
        told["action"] = Word(change, side, Subject::kContacts);
        if (!there.fields.IsEmpty()) told["fields"] = FieldNames(there.fields);
        if (!there.inPart.IsEmpty()) told["inPart"] = FieldNames(there.inPart);
    }
    if (!change.renamedTo.empty()) result["renamedTo"] = change.renamedTo;
    return result;
}

// A change of a mail, which is on one side only.
json MailJson(const sync::Change& change) {
    const Side side = change.eudora.verb != Verb::kNone ? Side::kEudora : Side::kFolder;
    return {{"name", change.name},
            {"id", change.id},
            {"messageId", change.messageId},
            {"side", side == Side::kEudora ? "eudora" : "maildir"},
            {"action", Word(change, side, Subject::kMails)}};
}

template <class Item, class ToJson>
json ListJson(const std::vector<Item>& items, const ToJson& toJson) {
    json list = json::array();
    for (const Item& item : items) list.push_back(toJson(item));
    return list;
}

json NoticeJson(const sync::Notice& notice) {
    return {{"name", notice.name}, {"text", notice.text}};
}

json ContactsJson(const sync::Report& report) {
    return {{"changes", ListJson(report.changes, ContactJson)},
            {"notCarriedOut", report.undone},
            {"conflicts", ListJson(report.conflicts, NoticeJson)},
            {"refused", ListJson(report.refused, NoticeJson)},
            {"leftAlone", report.leftAlone},
            {"notes", report.notes},
            {"kept", report.richer},
            {"furtherAddresses", report.further}};
}

json MailsJson(const sync::Report& report) {
    return {{"changes", ListJson(report.changes, MailJson)},
            {"notCarriedOut", report.undone},
            {"conflicts", ListJson(report.conflicts, NoticeJson)},
            {"leftAlone", report.leftAlone},
            {"removedInMaildir", report.dropped},
            {"keptInMaildir", report.kept},
            {"draftsInMaildir", report.drafts},
            {"waitingToBeRemoved", report.held},
            {"limits", report.limits},
            {"notes", report.notes}};
}

// The code of two that a person has to know first. A refusal beside a change is a failure: then
// something was touched.
base::ExitCode Worse(base::ExitCode a, base::ExitCode b) {
    const auto hasChanged = [](base::ExitCode code) {
        return code == base::ExitCode::kChangesMade || code == base::ExitCode::kConflictsLeft;
    };
    if ((a == base::ExitCode::kRefused && hasChanged(b)) ||
        (b == base::ExitCode::kRefused && hasChanged(a))) {
        return base::ExitCode::kFailed;
    }
    constexpr base::ExitCode kOrder[] = {base::ExitCode::kFailed, base::ExitCode::kRefused,
                                         base::ExitCode::kConflictsLeft,
                                         base::ExitCode::kChangesMade};
    for (const base::ExitCode code : kOrder) {
        if (a == code || b == code) return code;
    }
    return base::ExitCode::kNothingToDo;
}

void Append(std::vector<std::string>& lines, const std::vector<std::string>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

}  // namespace

void Output::Finish(nlohmann::json body) {
    body["result"] = kResults[static_cast<int>(code)];
    body["errors"] = errors;
    json = body;
}

std::string SizeText(std::uint64_t bytes) {
    constexpr std::uint64_t kKilo = 1000, kMega = kKilo * kKilo;
    if (bytes < kKilo) return std::to_string(bytes) + " bytes";
    const bool isLarge = bytes >= kMega;
    const std::uint64_t unit = isLarge ? kMega : kKilo;
    return std::to_string((bytes + unit - 1) / unit) + (isLarge ? " MB" : " KB");
}

Output RefusalOutput(const base::Failure& failure) {
    Output output{failure.exit, {}, {failure.Message()}};
    output.Finish(nlohmann::json::object());
    return output;
}

Output ExportOutput(std::size_t contacts, const std::string& toFolder) {
    Output output;
    if (contacts > 0) output.code = base::ExitCode::kChangesMade;
    output.lines.push_back(base::Counted(contacts, "contact") + " exported to " + toFolder);
    output.Finish({{"exported", contacts}});
    return output;
}

base::ExitCode Say(const Output& output, const Options& options) {
    if (options.json) {
        auto json = output.json;
        if (options.rules.dryRun) json["dryRun"] = true;
        base::PrintLine(base::JsonText(json));
    } else {
        for (const std::string& line : output.lines) base::PrintLine(line);
    }
    for (const std::string& line : output.errors) base::PrintError(line);
    return output.code;
}

Output SyncOutput(const sync::Report& report, Subject subject, bool countsOnly, bool withDetails) {
    Output output{report.Code(), {}, report.errors};
    if (report.stop) {
        TellStop(report, subject, output.errors);
    } else if (!countsOnly || report.HasNews()) {
        output.lines = Describe(report, subject, countsOnly);
    }
    if (withDetails) Append(output.lines, report.details);
    Append(output.lines, report.notes);
    output.Finish(subject == Subject::kContacts ? ContactsJson(report) : MailsJson(report));
    return output;
}

Output StatusOutput(const sync::Preview& preview, std::vector<std::string> head, Subject subject,
                    bool countsOnly) {
    const bool isMail = subject == Subject::kMails;
    Output output;
    output.lines = std::move(head);
    output.lines.push_back(
        (isMail ? "mails in Eudora: " : "contacts in Eudora: ") + std::to_string(preview.inEudora) +
        (isMail ? ", in the Maildir: " : ", in the folder: ") + std::to_string(preview.inFolder) +
        ", remembered: " + std::to_string(preview.remembered));
    if (preview.ready && preview.report.stop) {
        output.code = preview.report.Code();
        TellStop(preview.report, subject, output.errors);
    } else if (preview.ready) {
        output.errors = preview.report.errors;
        if (!output.errors.empty()) output.code = base::ExitCode::kFailed;
        output.lines.emplace_back(isMail ? "a sync of mail now:" : "a sync now:");
        for (const std::string& line : Describe(preview.report, subject, countsOnly)) {
            output.lines.push_back("  " + line);
        }
    } else {
        output.code = preview.ready.Error().exit;
        output.errors.push_back(preview.ready.Error().Message());
    }
    output.Finish({{"eudora", preview.inEudora},
                   {"folder", preview.inFolder},
                   {"remembered", preview.remembered},
                   {"lines", output.lines}});
    return output;
}

Output ConflictsOutput(const sync::Preview& preview, Subject subject) {
    if (!preview.ready) return RefusalOutput(preview.ready.Error());
    Output output{{}, {}, preview.report.errors};
    AddNotices(preview.report.conflicts, subject == Subject::kContacts ? "contact" : "mail",
               output.lines);
    if (!preview.report.conflicts.empty()) output.code = base::ExitCode::kConflictsLeft;
    output.Finish({{"conflicts", ListJson(preview.report.conflicts, NoticeJson)}});
    return output;
}

Output Collected(const std::vector<std::pair<std::string, Output>>& books) {
    Output all;
    json told = json::object();
    for (const auto& [name, book] : books) {
        all.code = Worse(all.code, book.code);
        const std::string head = name + ": ";
        for (const std::string& line : book.lines)
            all.lines.push_back(std::string(head).append(line));
        for (const std::string& line : book.errors)
            all.errors.push_back(std::string(head).append(line));
        told[name] = book.json;
    }
    all.Finish({{"books", std::move(told)}});
    return all;
}

Output Joined(const Output& contacts, const Output& mails) {
    Output joined = contacts;
    joined.code = Worse(contacts.code, mails.code);
    Append(joined.lines, mails.lines);
    Append(joined.errors, mails.errors);
    joined.Finish({{"contacts", contacts.json}, {"mail", mails.json}});
    return joined;
}

void TellEudora(Output& status, const base::Status& free,
                const std::vector<eudora::OutsideName>& outside, bool followLinks) {
    auto paths = Json::array();
    if (!free) status.lines.push_back("locked: " + free.Error().Message());
    for (const eudora::OutsideName& name : outside) {
        const auto failure = eudora::LeadsOutside(name);
        paths.push_back(name.path);
        if (followLinks) {
            status.lines.push_back(failure.Cause());
        } else {
            status.errors.push_back(failure.Message());
            status.code = Worse(status.code, base::ExitCode::kRefused);
        }
    }
    status.json["eudoraRuns"] = !free;
    status.json["leaveTheFolder"] = std::move(paths);
    status.Finish(status.json);
}

}  // namespace host::cli
