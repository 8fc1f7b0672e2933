#include "host/mailsync/execute_mail.h"

#include "host/mail/compose.h"
#include "host/mail/mail.h"
#include "host/mailsync/execute_eudora.h"

namespace host::mailsync {

namespace {

using state::RememberedMail;
using enum sync::Side;
using enum sync::Verb;
using platform::ErrorCode;

// How many composed mails wait in tmp at a time.
constexpr std::size_t kBatchMails = 200;

// A mail on its way into the Maildir.
struct Delivery {
    const MailStep* step;
    RememberedMail row;
    bool isComposed = false;
};

class MailExecution {
  public:
    MailExecution(const MailPlan& plan, const MailWork& work)
        : m_plan(plan), m_work(work), m_ledger(plan, work.memory) {}

    sync::Report Run() {
        const bool changesEudora = m_plan.report.Changes(kEudora);
        const bool endangersFiles = changesEudora || m_plan.report.Count(kFolder, kRemove) > 0;
        if (endangersFiles && !m_ledger.Check(m_work.backup(), "backup"))
            return m_ledger.TakeReport();
        for (const MailStep& step : m_plan.steps) {
            if (step.act.verb == kRedo) Redo(step);
        }
        const bool allDelivered = ComposeAll();
        for (const MailStep& step : m_plan.steps) {
            if (step.act == sync::Act{kFolder, kChange}) SetFlags(step);
            if (step.act == sync::Act{kFolder, kRemove}) Remove(step);
            if (step.act == sync::Act{kMemory, kChange}) m_ledger.change.put.push_back(step.row);
            if (step.act == sync::Act{kMemory, kRemove})
                m_ledger.change.forget.push_back(step.row.key);
        }
        Finish(allDelivered);
        const bool hasMore = changesEudora || m_plan.report.Count(kFolder, kFile) > 0;
        if (hasMore && !m_ledger.HasFailed()) ExecuteOnEudora(m_plan, m_work, m_ledger);
        return m_ledger.TakeReport();
    }

  private:
    // Nothing of the delivery is left; the mail is a new one in the same plan.
    void Redo(const MailStep& step) {
        m_work.folders.mails.Discard(step.row.unique);
        if (!step.file.name.empty()) (void)m_work.folders.mails.Remove(step.file);
        m_ledger.change.forget.push_back(step.row.key);
    }

    base::Result<mail::Mail> ReadMail(const MailStep& step) {
        auto found = m_work.source.Find(step.row.id);
        if (!found) return found.Error();
        if (!*found) return platform::Failure{ErrorCode::kNotFound, step.row.name};
        return m_work.source.Read(mail::MailParts::kAll);
    }

    // False if the Maildir takes no more. A mail that is gone meanwhile, or cannot be read, is
    // passed over.
    bool Compose(Delivery& delivery) {
        RememberedMail& row = delivery.row;
        m_work.progress.Step("mail", ++m_tried, m_total);
        const auto mail = ReadMail(*delivery.step);
        if (!mail && mail.Error().code == ErrorCode::kNotFound) return true;
        if (!mail) return !m_ledger.Check(mail.Error(), row.name);
        bool isMailAtFault = false;
        const auto size = mail::ComposeInto(m_work.folders.mails, row.unique, m_work.place.files,
                                            m_work.place.clock, *mail, isMailAtFault);
        if (!size) {
            (void)m_ledger.Check(size.Error(), row.name);
            return isMailAtFault;
        }
        m_ledger.Note(row.name, mail->notes);
        row.size = *size;
        row.content = ContentOf(*mail);
        row.fileId = mail::MessageIdOf(*mail);
        delivery.isComposed = true;
        return true;
    }

    bool Deliver(const Delivery& delivery) {
        const RememberedMail& row = delivery.row;
        const auto status = m_work.folders.mails.Deliver(row.unique, row.flags);
        if (!m_ledger.Check(status, row.name)) return false;
        m_delivered.push_back(m_work.folders.mails.EntryOf(row.unique, row.flags));
        m_ledger.Did(*delivery.step);
        return true;
    }

    // False if a delivery failed: what stopped one stops the others too.
    bool DeliverBatch() {
        // The names are remembered before a file has them, so that the next run finds what is left.
        if (!m_ledger.Save(m_batch)) return false;
        m_isFolderChanged = true;
        bool isWhole = true;
        for (Delivery& delivery : m_batch) isWhole = isWhole && Compose(delivery);
        std::erase_if(m_batch, [&](const Delivery& delivery) {
            if (!delivery.isComposed) m_ledger.change.forget.push_back(delivery.row.key);
            return !delivery.isComposed;
        });
        bool isDelivered = m_ledger.Save(m_batch);
        for (const Delivery& delivery : m_batch) {
            isDelivered = isDelivered && Deliver(delivery);
            if (!isDelivered) m_work.folders.mails.Discard(delivery.row.unique);
        }
        m_batch.clear();
        return isWhole && isDelivered;
    }

    bool ComposeAll() {
        m_total = m_plan.report.Count(kFolder, kAdd);
        if (m_total == 0) return true;
        if (!m_ledger.Check(m_work.folders.mails.Create(), "Maildir")) return false;
        for (const MailStep& step : m_plan.steps) {
            if (step.act != sync::Act{kFolder, kAdd}) continue;
            m_batch.push_back({&step, step.row});
            m_batch.back().row.unique = m_work.folders.mails.NewName();
            if (m_batch.size() >= kBatchMails && !DeliverBatch()) return false;
        }
        return m_batch.empty() || DeliverBatch();
    }

    // A file that another program renamed or removed meanwhile is the next run's affair.
    void SetFlags(const MailStep& step) {
        const auto status = m_work.folders.mails.SetFlags(step.file, step.row.flags);
        if (!status && status.Error().code == ErrorCode::kNotFound) return;
        if (!m_ledger.Check(status, step.row.name)) return;
        m_isFolderChanged = true;
        m_ledger.change.put.push_back(step.row);
        m_ledger.Did(step);
    }

    void Remove(const MailStep& step) {
        const auto status = m_work.folders.mails.Remove(step.file);
        if (!status && status.Error().code == ErrorCode::kNotFound) return;
        if (!m_ledger.Check(status, step.row.name)) return;
        m_isFolderChanged = true;
        m_ledger.change.forget.push_back(step.row.key);
        m_ledger.Did(step);
    }

    void Finish(bool allDelivered) {
        m_ledger.change.settle = allDelivered && !m_delivered.empty();
        if (m_isFolderChanged &&
            !m_ledger.Check(m_work.folders.mails.Settle(m_delivered), "Maildir"))
            return;
        (void)m_ledger.Save();
    }

    const MailPlan& m_plan;
    const MailWork& m_work;
    std::vector<Delivery> m_batch;
    std::size_t m_tried = 0, m_total = 0;
    std::vector<maildir::MaildirEntry> m_delivered;
    Ledger m_ledger;
    bool m_isFolderChanged = false;
};

}  // namespace

bool Ledger::Check(const base::Status& status, const std::string& what) {
    if (!status) m_report.errors.push_back(what + ": " + status.Error().Message());
    return status.HasValue();
}

void Ledger::Note(const std::string& name, const std::vector<std::string>& notes) {
    const std::string prefix = name + ": ";
    for (const std::string& note : notes) m_report.notes.push_back(prefix + note);
}

std::optional<state::MailMemoryChange> Ledger::Keep(state::MailMemoryChange pending) {
    const bool isEmpty = pending.put.empty() && pending.forget.empty() && !pending.settle;
    if (!isEmpty && !Check(m_memory.Save(pending), "state")) return std::nullopt;
    return pending;
}

sync::Report Ledger::TakeReport() {
    const std::size_t planned = m_report.changes.size();
    m_report.changes.clear();
    for (const MailStep& step : m_plan.steps) {
        auto told = Told(step);
        if (told && m_done[m_plan.IndexOf(step)]) m_report.changes.push_back(*std::move(told));
    }
    m_report.undone = planned - m_report.changes.size();
    return std::move(m_report);
}

sync::Report ExecuteMail(const MailPlan& plan, const MailWork& work) {
    return MailExecution(plan, work).Run();
}

}  // namespace host::mailsync
