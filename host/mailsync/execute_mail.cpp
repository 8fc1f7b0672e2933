#include "host/mailsync/execute_mail.h"

#include "host/mail/compose.h"
#include "host/mail/message_id.h"
#include "host/mailsync/execute_eudora.h"
#include "host/mailsync/mail_content.h"

namespace host {

namespace {

using platform::ErrorCode;

// How many composed mails, or how many bytes of them, are held in memory at a time.
constexpr std::size_t kBatchMails = 500;
constexpr std::size_t kBatchBytes = 16u << 20;

class MailExecution {
  public:
    MailExecution(const MailPlan& plan, const MailWork& work) : m_plan(plan), m_work(work) {
        m_outcome.done.resize(plan.steps.size());
    }

    MailOutcome Run();

  private:
    struct Delivery {
        const MailStep& step;
        RememberedMail row;
        std::string message;
    };

    bool Check(const platform::Status& status, const std::string& what);
    void Did(const MailStep& step) { m_outcome.done[m_plan.IndexOf(step)] = true; }
    void Redo(const MailStep& step);
    bool ComposeAll();
    void Compose(const MailStep& step);
    platform::Result<bool> Prepare(const MailStep& step, Delivery& delivery);
    bool DeliverBatch();
    void SetFlags(const MailStep& step);
    void Remove(const MailStep& step);
    void Finish(bool allDelivered);

    const MailPlan& m_plan;
    const MailWork& m_work;
    std::vector<Delivery> m_batch;
    std::size_t m_batchBytes = 0;
    std::vector<MaildirEntry> m_delivered;
    MailMemoryChange m_change;
    bool m_isFolderChanged = false;
    MailOutcome m_outcome;
};

bool MailExecution::Check(const platform::Status& status, const std::string& what) {
    if (!status) m_outcome.errors.push_back(what + ": " + status.Error().Message());
    return status.HasValue();
}

// Nothing of the delivery is left; the mail is a new one in the same plan.
void MailExecution::Redo(const MailStep& step) {
    m_work.folders.mails.DiscardUnfinished(step.row.unique);
    if (!step.file.name.empty()) (void)m_work.folders.mails.Remove(step.file);
    m_change.forget.push_back(step.row.key);
}

// False if the mail is gone meanwhile.
platform::Result<bool> MailExecution::Prepare(const MailStep& step, Delivery& delivery) {
    auto found = m_work.source.Find(step.row.id);
    if (!found) return found.Error();
    if (!*found) return false;
    auto mail = m_work.source.Read(MailParts::kAll);
    if (!mail) return mail.Error();
    auto message = ComposeMail(m_work.files, *mail, OffsetAt(m_work.clock, *mail));
    if (!message) return message.Error();
    for (const std::string& note : mail->notes) {
        m_outcome.notes.push_back(step.row.name + ": " + note);
    }
    delivery.message = *std::move(message);
    delivery.row = step.row;
    delivery.row.unique = m_work.folders.mails.NewName();
    delivery.row.size = delivery.message.size();
    delivery.row.content = ContentOf(*mail);
    delivery.row.fileId = MessageIdOf(*mail);
    return true;
}

void MailExecution::Compose(const MailStep& step) {
    Delivery delivery{step, {}, {}};
    auto prepared = Prepare(step, delivery);
    if (!prepared) (void)Check(prepared.Error(), step.row.name);
    if (!prepared || !*prepared) return;
    m_batchBytes += delivery.message.size();
    m_batch.push_back(std::move(delivery));
}

bool MailExecution::DeliverBatch() {
    if (m_batch.empty()) return true;
    for (const Delivery& delivery : m_batch) m_change.put.push_back(delivery.row);
    const auto saved = m_work.memory.Save(m_change);
    m_change = {};
    if (!Check(saved, "state")) return false;
    m_isFolderChanged = true;
    for (const Delivery& delivery : m_batch) {
        const RememberedMail& row = delivery.row;
        const auto status = m_work.folders.mails.Deliver(row.unique, delivery.message, row.flags);
        if (!Check(status, row.name)) return false;
        m_delivered.push_back(m_work.folders.mails.EntryOf(row.unique, row.flags));
        Did(delivery.step);
    }
    m_batch.clear();
    m_batchBytes = 0;
    return true;
}

// False if a delivery failed: what stopped one stops the others too.
bool MailExecution::ComposeAll() {
    const std::size_t total = m_plan.Count(MailAct::kCompose);
    if (total == 0) return true;
    if (!Check(m_work.folders.mails.Create(), "Maildir")) return false;
    std::size_t done = 0;
    for (const MailStep& step : m_plan.steps) {
        if (step.act != MailAct::kCompose) continue;
        m_work.progress.Step("mail", ++done, total);
        Compose(step);
        const bool isFull = m_batch.size() >= kBatchMails || m_batchBytes >= kBatchBytes;
        if (isFull && !DeliverBatch()) return false;
    }
    return DeliverBatch();
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

}  // namespace host
