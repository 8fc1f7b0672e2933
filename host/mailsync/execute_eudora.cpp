#include "host/mailsync/execute_eudora.h"

#include "host/mail/parse.h"
#include "host/maildir/maildir_name.h"

namespace host {

namespace {

using platform::ErrorCode;

// How many new mails, or how many bytes of them, wait in the translator at a time.
constexpr std::size_t kBatchMails = 500;
constexpr std::size_t kBatchBytes = 16u << 20;

std::uint32_t StatusOf(const std::string& flags) {
    return HasFlag(flags, 'S') ? kStatusRead : kStatusUnread;
}

class EudoraExecution {
  public:
    EudoraExecution(const MailPlan& plan, const MailWork& work, MailOutcome& outcome)
        : m_plan(plan), m_work(work), m_outcome(outcome) {}

    void Run();

  private:
    bool Check(const platform::Status& status, const std::string& what);
    void Did(const MailStep& step) { m_outcome.done[m_plan.IndexOf(step)] = true; }
    platform::Result<NewMail> ReadNew(Maildir& maildir, const MailStep& step);
    void Note(const std::string& name, const NewMail& mail);
    void Erase(const MailStep& step);
    void Mark(const MailStep& step);
    bool AddAll();
    void Add(const MailStep& step);
    bool FinishBatch();
    void RememberAdded();
    bool Save();
    bool SendAll();
    bool Send(const MailStep& step);
    void File(const MailStep& step, std::int64_t key);

    const MailPlan& m_plan;
    const MailWork& m_work;
    MailOutcome& m_outcome;
    // Since the last Finish; the rows of the added mails are changed ones.
    std::vector<RememberedMail> m_added, m_marked;
    std::vector<const MailStep*> m_addedSteps, m_markedSteps;
    std::size_t m_addedBytes = 0;
    MailMemoryChange m_change;
    bool m_hasSent = false;
};

bool EudoraExecution::Check(const platform::Status& status, const std::string& what) {
    if (!status) m_outcome.errors.push_back(what + ": " + status.Error().Message());
    return status.HasValue();
}

platform::Result<NewMail> EudoraExecution::ReadNew(Maildir& maildir, const MailStep& step) {
    auto text = maildir.Read(step.file, kLargestMessage);
    if (!text) return text.Error();
    m_addedBytes += text->size();
    return m_work.parse(*text, step.row.name);
}

void EudoraExecution::Note(const std::string& name, const NewMail& mail) {
    const auto add = [&](const std::string& note) {
        m_outcome.notes.push_back(std::string(name).append(": ").append(note));
    };
    for (const std::string& note : mail.notes) add(note);
    if (mail.lostCharacters == 0) return;
    add(std::to_string(mail.lostCharacters) +
        " characters that Eudora's code page lacks are ? there");
}

// After each removal the translator looks for the next mail from the in-box's beginning, so nothing
// else is asked about it unless it fails.
void EudoraExecution::Erase(const MailStep& step) {
    auto removed = m_work.source.Remove(step.row.id);
    if (!removed) {
        const auto found = m_work.source.Find(step.row.id);
        if (found && !*found) removed = {};
    }
    if (!Check(removed, step.row.name)) return;
    m_change.forget.push_back(step.row.key);
    Did(step);
}

void EudoraExecution::Mark(const MailStep& step) {
    RememberedMail row = step.row;
    const std::uint32_t status = StatusOf(row.flags);
    if (!Check(m_work.source.SetStatus(row.id, status), row.name)) return;
    row.marker = std::to_string(status);
    m_marked.push_back(std::move(row));
    m_markedSteps.push_back(&step);
}

// A file that is gone meanwhile, or has another name, is the next run's affair.
void EudoraExecution::Add(const MailStep& step) {
    const auto mail = ReadNew(m_work.folders.mails, step);
    if (!mail && mail.Error().code == ErrorCode::kNotFound) return;
    if (!mail) return (void)Check(mail.Error(), step.row.name);
    auto head = m_work.source.Add(*mail, StatusOf(step.file.flags));
    if (!head) return (void)Check(head.Error(), step.row.name);
    Note(step.row.name, *mail);
    RememberedMail row = step.row;
    row.link = MailLink::kAdding;
    row.id = std::move(head->id);
    row.marker = std::move(head->marker);
    row.messageId = mail->messageId;
    row.unique = step.file.unique;
    row.flags = step.file.flags;
    row.fileId = mail->messageId;
    m_added.push_back(std::move(row));
    m_addedSteps.push_back(&step);
}

bool EudoraExecution::Save() {
    if (m_change.put.empty() && m_change.forget.empty()) return true;
    const bool isSaved = Check(m_work.memory.Save(m_change), "state");
    m_change = {};
    return isSaved;
}

// As Eudora tells them from now on. What is not there was not stored, and is added by the next run.
void EudoraExecution::RememberAdded() {
    for (std::size_t i = 0; i < m_added.size(); ++i) {
        RememberedMail& row = m_added[i];
        const auto head = m_work.source.Find(row.id);
        const auto messageId = head && *head ? m_work.source.MessageId() : std::nullopt;
        if (!messageId || *messageId != row.messageId) {
            m_change.forget.push_back(row.key);
            continue;
        }
        row.link = MailLink::kInStep;
        row.marker = (*head)->marker;
        m_change.put.push_back(std::move(row));
        Did(*m_addedSteps[i]);
    }
    m_added.clear();
    m_addedSteps.clear();
}

bool EudoraExecution::FinishBatch() {
    m_change.put.insert(m_change.put.end(), m_added.begin(), m_added.end());
    MailMemoryChange intents = std::move(m_change);
    m_change = {};
    const bool hasIntents = !intents.put.empty() || !intents.forget.empty();
    if (hasIntents && !Check(m_work.memory.Save(intents), "state")) return false;
    // Those that were added last in it are the batch, now with their keys.
    std::move(intents.put.end() - static_cast<std::ptrdiff_t>(m_added.size()), intents.put.end(),
              m_added.begin());
    const bool isFinished = Check(m_work.source.Finish(), "Eudora");
    if (isFinished) {
        m_change.put = std::move(m_marked);
        for (const MailStep* step : m_markedSteps) Did(*step);
    }
    m_marked.clear();
    m_markedSteps.clear();
    m_addedBytes = 0;
    RememberAdded();
    return Save() && isFinished;
}

// False if storing failed: what stopped one stops the others too.
bool EudoraExecution::AddAll() {
    const std::size_t total = m_plan.Count(MailAct::kAdd);
    std::size_t done = 0;
    for (const MailStep& step : m_plan.steps) {
        if (step.act != MailAct::kAdd) continue;
        m_work.progress.Step("mail for Eudora", ++done, total);
        Add(step);
        const bool isFull = m_added.size() >= kBatchMails || m_addedBytes >= kBatchBytes;
        if (isFull && !FinishBatch()) return false;
    }
    if (m_added.empty() && m_marked.empty()) return Save();
    return FinishBatch();
}

// The file goes where mail programs keep what was sent; that it is gone from .Outbox is remembered
// by nothing else.
void EudoraExecution::File(const MailStep& step, std::int64_t key) {
    if (!Check(m_work.folders.sent.Create(), ".Sent")) return;
    const auto moved = m_work.folders.outbox.MoveInto(m_work.folders.sent, step.file,
                                                      WithFlag(step.file.flags, 'S', true));
    if (!moved && moved.Error().code != ErrorCode::kNotFound) {
        (void)Check(moved, step.row.name);
        return;
    }
    m_hasSent = true;
    m_change.forget.push_back(key);
    Did(step);
}

// False if it was not handed over.
bool EudoraExecution::Send(const MailStep& step) {
    const auto mail = ReadNew(m_work.folders.outbox, step);
    if (!mail) return Check(mail.Error(), step.row.name);
    auto before = m_work.queued();
    if (!before) return Check(before.Error(), step.row.name);
    MailMemoryChange intent{{step.row}, {}, false};
    intent.put[0].size = *before;
    if (!Check(m_work.memory.Save(intent), "state")) return false;
    const std::int64_t key = intent.put[0].key;
    auto status = m_work.source.AddOutgoing(*mail);
    if (status) status = m_work.source.Finish();
    const auto after = m_work.queued();
    // What is in the out-box is queued, whatever was told.
    if (after && *after > *before) status = {};
    if (!Check(status, step.row.name)) {
        if (after && *after == *before) m_change.forget.push_back(key);
        return false;
    }
    Did(step);
    Note(step.row.name, *mail);
    File(step, key);
    return true;
}

bool EudoraExecution::SendAll() {
    bool isAll = true;
    for (const MailStep& step : m_plan.steps) {
        if (step.act == MailAct::kFile) File(step, step.row.key);
        if (step.act != MailAct::kSend) continue;
        isAll = Send(step) && isAll;
    }
    if (m_hasSent) isAll = Check(m_work.folders.sent.Settle({}), ".Sent") && isAll;
    return Save() && isAll;
}

void EudoraExecution::Run() {
    for (const MailStep& step : m_plan.steps) {
        if (step.act == MailAct::kErase) Erase(step);
        if (step.act == MailAct::kMark) Mark(step);
    }
    if (AddAll()) (void)SendAll();
}

}  // namespace

void ExecuteOnEudora(const MailPlan& plan, const MailWork& work, MailOutcome& outcome) {
    EudoraExecution(plan, work, outcome).Run();
}

}  // namespace host
