#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/mail/attach_folder.h"
#include "host/mail/mail_source.h"
#include "host/mailsync/load_mail.h"
#include "host/mailsync/mail_plan.h"

// Carrying out a plan for mails.
namespace host::mailsync {

// What a plan is carried out on. The objects outlive the call.
struct MailWork {
    const sync::RunContext& context;
    mail::MailSource& source;
    MailFolders& folders;
    state::MailMemory& memory;
    mail::AttachFolder& attachments;  // of Eudora
    base::Progress& progress;
    // Turns the bytes of a message into a mail for Eudora; the second text names it in failures.
    std::function<base::Result<mail::NewMail>(std::string_view, const std::string&)> parse;
    // How many mails lie in Eudora's out-box, and the ids of those in the in-box.
    std::function<base::Result<std::size_t>()> queued;
    std::function<base::Result<std::set<std::string>>()> inBox;
    // Called once before the first change if Eudora's side changes or a file goes; its failure ends
    // the run there.
    std::function<base::Status()> backup;
    unsigned codePage;  // of Eudora's texts
};

// The results of a plan's steps: what is remembered of them, and what is reported.
class Ledger {
  public:
    Ledger(const MailPlan& plan, state::MailMemory& memory)
        : m_plan(plan), m_memory(memory), m_report(plan.report), m_done(plan.steps.size(), false) {}

    // What the next Save remembers.
    state::MailMemoryChange change;

    // Whether it succeeded. A failure becomes an error of the report: "WHAT: MESSAGE".
    bool Check(const base::Status& status, const std::string& what);
    // Adds notes on a mail to the report, each with the mail's name in front.
    void Note(const std::string& name, const std::vector<std::string>& notes);
    // A mail's file is about to be replaced: nothing else is done about the mail until that is
    // Renewed, or came to nothing.
    void BeginRenewal(state::Key key) { m_renewals[key] = std::nullopt; }
    void Renewed(const state::RememberedMail& row, maildir::MaildirEntry file) {
        m_renewals[row.key] = MailStep{{}, row, std::move(file)};
    }
    void DropRenewal(state::Key key) { m_renewals.erase(key); }
    // A step on the file and the row as they are now; nothing if it has to wait for the next run.
    std::optional<MailStep> Now(const MailStep& step) const;
    // Marks a step of the plan as done; the report tells of those alone.
    void Did(const MailStep& step) { m_done[m_plan.IndexOf(step)] = true; }
    bool HasFailed() const { return m_report.errors.size() > m_plan.report.errors.size(); }
    // Remembers `change`, durably, and empties it. False, with an error in the report, if that
    // failed: then nothing of it is remembered.
    bool Save() { return Keep(std::exchange(change, {})).has_value(); }
    // The same with the `row` of each element of the batch; new rows get their keys.
    template <class Batch>
    bool Save(Batch& batch) {
        for (const auto& one : batch) change.put.push_back(one.row);
        auto saved = Keep(std::exchange(change, {}));
        if (!saved) return false;
        for (auto at = saved->put.end() - std::ssize(batch); auto& one : batch) one.row = *at++;
        return true;
    }
    // The report with the changes that were made; the others are counted as undone.
    sync::Report TakeReport();

  private:
    // What was saved, with its keys; nothing, with a line in the report, if that failed.
    std::optional<state::MailMemoryChange> Keep(state::MailMemoryChange pending);

    const MailPlan& m_plan;
    state::MailMemory& m_memory;
    sync::Report m_report;
    std::vector<bool> m_done;
    std::unordered_map<state::Key, std::optional<MailStep>> m_renewals;
};

// Carries out a plan, the Maildir first. A failed backup ends the run before the first change;
// after a failure in the Maildir Eudora stays as it is. Failures are errors of the report.
//
// The order makes an interrupted run harmless, by a kill or a loss of power. A batch of mails is
// remembered with its file names before it is composed, and with its sizes before it is delivered.
// The next run takes a file of full size as delivered and composes any other mail again. A file
// that another one replaces goes when that one is on the disk; until then both are remembered. All
// other changes are compared anew by the next run. Finished work is remembered only once it is on
// the disk.
sync::Report ExecuteMail(const MailPlan& plan, const MailWork& work);

}  // namespace host::mailsync
