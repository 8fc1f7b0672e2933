#include "host/mailsync/execute_mail.h"

#include "host/mail/compose_into.h"
#include "host/mail/message_id.h"
#include "host/mailsync/execute_eudora.h"
#include "host/mailsync/mail_content.h"

namespace host::mailsync {

namespace {

using platform::ErrorCode;

// How many composed mails wait in tmp at a time.
constexpr std::size_t kBatchMails = 200;

class MailExecution {
  public:
    MailExecution(const MailPlan& plan, const MailWork& work) : m_plan(plan), m_work(work) {
        m_outcome.done.resize(plan.steps.size());
    }

    MailOutcome Run();

  private:
    struct Delivery {
        const MailStep* step;
        state::RememberedMail row;
        bool isComposed = false;
    };

    bool Check(const platform::Status& status, const std::string& what);
    void Did(const MailStep& step) { m_outcome.done[m_plan.IndexOf(step)] = true; }
    void Redo(const MailStep& step);
    bool ComposeAll();
    platform::Result<mail::Mail> ReadMail(const MailStep& step);
    bool Compose(Delivery& delivery);
    bool Remember();
    bool Deliver(const Delivery& delivery);
    bool DeliverBatch();
    void SetFlags(const MailStep& step);
    void Remove(const MailStep& step);
    void Finish(bool allDelivered);

    const MailPlan& m_plan;
    const MailWork& m_work;
    std::vector<Delivery> m_batch;
    std::size_t m_tried = 0, m_total = 0;
    std::vector<maildir::MaildirEntry> m_delivered;
    state::MailMemoryChange m_change;
    bool m_isFolderChanged = false;
    MailOutcome m_outcome;
};

bool MailExecution::Check(const platform::Status& status, const std::string& what) {
    if (!status) m_outcome.errors.push_back(what + ": " + status.Error().Message());
    return status.HasValue();
}

// Nothing of the delivery is left; the mail is a new one in the same plan.
void MailExecution::Redo(const MailStep& step) {
    m_work.folders.mails.Discard(step.row.unique);
    if (!step.file.name.empty()) (void)m_work.folders.mails.Remove(step.file);
    m_change.forget.push_back(step.row.key);
}

platform::Result<mail::Mail> MailExecution::ReadMail(const MailStep& step) {
    auto found = m_work.source.Find(step.row.id);
    if (!found) return found.Error();
    if (!*found) return platform::Failure{ErrorCode::kNotFound, step.row.name};
    return m_work.source.Read(mail::MailParts::kAll);
}

// False if the Maildir takes no more. A mail that is gone meanwhile, or cannot be read, is passed
// over.
bool MailExecution::Compose(Delivery& delivery) {
    state::RememberedMail& row = delivery.row;
    m_work.progress.Step("mail", ++m_tried, m_total);
    const auto mail = ReadMail(*delivery.step);
    if (!mail && mail.Error().code == ErrorCode::kNotFound) return true;
    if (!mail) return !Check(mail.Error(), row.name);
    bool isMailAtFault = false;
    const auto size = mail::ComposeInto(m_work.folders.mails, row.unique, m_work.files, *mail,
                                        OffsetAt(m_work.clock, *mail), isMailAtFault);
    if (!size) {
        (void)Check(size.Error(), row.name);
        return isMailAtFault;
    }
    for (const auto& note : mail->notes) m_outcome.notes.push_back(row.name + ": " + note);
    row.size = *size;
    row.content = ContentOf(*mail);
    row.fileId = mail::MessageIdOf(*mail);
    delivery.isComposed = true;
    return true;
}

// The names are kept in memory before a file has them, so that the next run finds what is left.
bool MailExecution::Remember() {
    for (const Delivery& delivery : m_batch) m_change.put.push_back(delivery.row);
    const bool isSaved = Check(m_work.memory.Save(m_change), "state");
    for (std::size_t i = 0; i < m_batch.size(); ++i) m_batch[i].row = m_change.put[i];
    m_change = {};
    return isSaved;
}

bool MailExecution::Deliver(const Delivery& delivery) {
    const state::RememberedMail& row = delivery.row;
    const auto status = m_work.folders.mails.Deliver(row.unique, row.flags);
    if (!Check(status, row.name)) return false;
    m_delivered.push_back(m_work.folders.mails.EntryOf(row.unique, row.flags));
    Did(*delivery.step);
    return true;
}

// False if a delivery failed: what stopped one stops the others too.
bool MailExecution::DeliverBatch() {
    m_isFolderChanged = true;
    bool isWhole = true;
    for (Delivery& delivery : m_batch) isWhole = isWhole && Compose(delivery);
    std::erase_if(m_batch, [&](const Delivery& delivery) {
        if (!delivery.isComposed) m_change.forget.push_back(delivery.row.key);
        return !delivery.isComposed;
    });
    bool isDelivered = Remember();
    for (const Delivery& delivery : m_batch) {
        isDelivered = isDelivered && Deliver(delivery);
        if (!isDelivered) m_work.folders.mails.Discard(delivery.row.unique);
    }
    m_batch.clear();
    return isWhole && isDelivered;
}

bool MailExecution::ComposeAll() {
    m_total = m_plan.Count(MailAct::kCompose);
    if (m_total == 0) return true;
    if (!Check(m_work.folders.mails.Create(), "Maildir")) return false;
    for (const MailStep& step : m_plan.steps) {
        if (step.act != MailAct::kCompose) continue;
        m_batch.push_back({&step, step.row});
        m_batch.back().row.unique = m_work.folders.mails.NewName();
        if (m_batch.size() >= kBatchMails && !(Remember() && DeliverBatch())) return false;
    }
    return m_batch.empty() || (Remember() && DeliverBatch());
}

// A file that another program renamed or removed meanwhile is the next run's affair.
void MailExecution::SetFlags(const MailStep& step) {
    const auto status = m_work.folders.mails.SetFlags(step.file, step.row.flags);
    if (!status && status.Error().code == ErrorCode::kNotFound) return;
    if (!Check(status, step.row.name)) return;
    m_isFolderChanged = true;
    m_change.put.push_back(step.row);
    Did(step);
}

void MailExecution::Remove(const MailStep& step) {
    const auto status = m_work.folders.mails.Remove(step.file);
    if (!status && status.Error().code == ErrorCode::kNotFound) return;
    if (!Check(status, step.row.name)) return;
    m_isFolderChanged = true;
    m_change.forget.push_back(step.row.key);
    Did(step);
}

void MailExecution::Finish(bool allDelivered) {
    m_change.settle = allDelivered && !m_delivered.empty();
    if (m_isFolderChanged && !Check(m_work.folders.mails.Settle(m_delivered), "Maildir")) return;
    if (m_change.put.empty() && m_change.forget.empty() && !m_change.settle) return;
    (void)Check(m_work.memory.Save(m_change), "state");
}

MailOutcome MailExecution::Run() {
    const bool changesEudora = m_plan.ChangesEudora();
    if (changesEudora && !Check(m_work.backup(), "backup")) return std::move(m_outcome);
    for (const MailStep& step : m_plan.steps) {
        if (step.act == MailAct::kRedo) Redo(step);
    }
    const bool allDelivered = ComposeAll();
    for (const MailStep& step : m_plan.steps) {
        if (step.act == MailAct::kSetFlags) SetFlags(step);
        if (step.act == MailAct::kRemove) Remove(step);
        if (step.act == MailAct::kRemember) m_change.put.push_back(step.row);
        if (step.act == MailAct::kForget) m_change.forget.push_back(step.row.key);
    }
    Finish(allDelivered);
    const bool hasMore = changesEudora || m_plan.Count(MailAct::kFile) > 0;
    if (hasMore && m_outcome.errors.empty()) ExecuteOnEudora(m_plan, m_work, m_outcome);
    return std::move(m_outcome);
}

}  // namespace

MailOutcome ExecuteMail(const MailPlan& plan, const MailWork& work) {
    return MailExecution(plan, work).Run();
}

}  // namespace host::mailsync
