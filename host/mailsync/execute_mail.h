#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/mail/attach_folder.h"
#include "host/mail/mail_source.h"
#include "host/mailsync/load_mail.h"
#include "host/mailsync/mail_plan.h"

namespace host::mailsync {

// What a plan is carried out on. The objects outlive the call.
struct MailWork {
    const sync::CommandPlace& place;
    mail::MailSource& source;
    MailFolders& folders;
    state::MailMemory& memory;
    mail::AttachFolder& attachments;  // of Eudora
    base::Progress& progress;
    // Reads a file for Eudora; the name is what a refusal calls it.
    std::function<base::Result<mail::NewMail>(std::string_view, const std::string&)> parse;
    // How many mails lie in Eudora's out-box.
    std::function<base::Result<std::size_t>()> queued;
    // Called once before the first change of Eudora's side; its failure ends the run there.
    std::function<base::Status()> backup;
};

// What becomes of a plan while it is carried out.
class Ledger {
  public:
    Ledger(const MailPlan& plan, state::MailMemory& memory)
        : m_plan(plan), m_memory(memory), m_report(plan.report), m_done(plan.steps.size(), false) {}

    // What the next Save remembers.
    state::MailMemoryChange change;

    // False, with a line in the report, if that failed.
    bool Check(const base::Status& status, const std::string& what);
    void Note(const std::string& name, const std::vector<std::string>& notes);
    void Did(const MailStep& step) { m_done[m_plan.IndexOf(step)] = true; }
    bool HasFailed() const { return m_report.errors.size() > m_plan.report.errors.size(); }
    bool Save() { return Keep(std::exchange(change, {})).has_value(); }
    // Saves the `row` of each too; new ones get their keys.
    template <class Batch>
    bool Save(Batch& batch) {
        for (const auto& one : batch) change.put.push_back(one.row);
        auto saved = Keep(std::exchange(change, {}));
        if (!saved) return false;
        for (auto at = saved->put.end() - std::ssize(batch); auto& one : batch) one.row = *at++;
        return true;
    }
    // Tells of the steps that were done.
    sync::Report TakeReport();

  private:
    // What was saved, with its keys; nothing, with a line in the report, if that failed.
    std::optional<state::MailMemoryChange> Keep(state::MailMemoryChange pending);

    const MailPlan& m_plan;
    state::MailMemory& m_memory;
    sync::Report m_report;
    std::vector<bool> m_done;
};

// Carries out a plan, the Maildir first. The order makes a run that is cut off at any point
// harmless, by a kill or by the loss of power: before a batch of mails is composed it is remembered
// under which names, and before it is delivered with which sizes; what the next run finds of it
// whole is in step, what it does not is composed again. All other changes can be found half done
// and are planned again or found to be equal. The memory of finished work is kept only when that
// work is on the disk.
sync::Report ExecuteMail(const MailPlan& plan, const MailWork& work);

}  // namespace host::mailsync
