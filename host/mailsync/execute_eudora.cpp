#include "host/mailsync/execute_eudora.h"

#include <algorithm>
#include <deque>
#include <sstream>
#include <utility>

#include "host/base/failure.h"
#include "host/mail/parse.h"

namespace host::mailsync {

namespace {

using state::MailLink;
using state::RememberedMail;
using enum sync::Side;
using enum sync::Verb;
using platform::ErrorCode;

// How many new mails, or how many bytes of them, wait in the translator at a time.
constexpr std::size_t kBatchMails = 500;
constexpr std::size_t kBatchBytes = 16u << 20;

std::uint32_t StatusOf(const std::string& flags) {
    return maildir::HasFlag(flags, 'S') ? mail::kStatusRead : mail::kStatusUnread;
}

std::string Lines(const std::vector<mail::NewAttachment>& attachments) {
    std::string lines;
    for (const mail::NewAttachment& one : attachments) lines += one.copyName + '\n';
    return lines;
}

std::vector<std::string> NamesIn(const std::string& lines) {
    std::vector<std::string> names;
    std::istringstream rest(lines);
    for (std::string name; std::getline(rest, name);) names.push_back(std::move(name));
    return names;
}

// A mail on its way into the in-box or the out-box.
struct Addition {
    const MailStep* step;
    mail::NewMail mail;
    RememberedMail row;
};

// A read state on its way.
struct Marking {
    const MailStep* step;
    RememberedMail row;
};

class EudoraExecution {
  public:
    EudoraExecution(const MailPlan& plan, const MailWork& work, Ledger& ledger)
        : m_plan(plan), m_work(work), m_ledger(ledger) {}

    void Run() {
        TakeBackCopies();
        for (const MailStep& step : m_plan.steps) {
            if (step.act == sync::Act{kEudora, kRemove}) Erase(step);
            if (step.act == sync::Act{kEudora, kChange}) Mark(step);
        }
        if (AddAll()) SendAll();
        FinishRemovals();
    }

  private:
    base::Result<mail::NewMail> ReadNew(const MailStep& step) {
        const bool isForInBox = step.act.verb == kAdd;
        maildir::Maildir& maildir = isForInBox ? m_work.folders.mails : m_work.folders.outbox;
        return base::OrOutOfMemory([&]() -> base::Result<mail::NewMail> {
            auto text = maildir.Read(step.file, mail::kLargestMessage);
            if (!text) return text.Error();
            m_batchBytes += text->size();
            return m_work.parse(*text, step.row.name);
        });
    }

    // Reads a file and names the copies of its attachments. Nothing, with an error in the report,
    // if it cannot be read; nothing at all for a file that was moved or deleted meanwhile, which
    // the next run sees.
    std::optional<mail::NewMail> ReadNamed(const MailStep& step) {
        auto mail = ReadNew(step);
        if (!mail && mail.Error().code == ErrorCode::kNotFound) return std::nullopt;
        if (!mail) {
            (void)m_ledger.Check(mail.Error(), step.row.name);
            return std::nullopt;
        }
        m_work.attachments.ChooseNames(mail->attachments);
        return *std::move(mail);
    }

    void Note(const std::string& name, mail::NewMail& mail) {
        if (mail.lostCharacters > 0) {
            mail.notes.push_back(std::to_string(mail.lostCharacters) +
                                 " characters that Eudora's code page lacks are ? there");
        }
        m_ledger.Note(name, mail.notes);
    }

    // The translator copies a mail's attachments before the mail is in its mailbox: a run that was
    // cut off in between left them behind, under the names that it remembered first.
    void TakeBackCopies() {
        for (const MailStep& step : m_plan.steps) {
            const bool isOnItsWay = step.act == sync::Act{kEudora, kAdd} ||
                                    step.act.verb == kQueue || step.act.verb == kFile;
            if (!isOnItsWay || step.row.content.empty()) continue;
            const auto mail = ReadNew(step);
            if (!mail) continue;
            m_work.attachments.TakeBack(NamesIn(step.row.content), mail->attachments);
        }
        m_batchBytes = 0;
    }

    // After each removal the translator looks for the next mail from the in-box's beginning, so
    // nothing else is asked about it unless it fails.
    void Erase(const MailStep& step) {
        auto removed = m_work.source.Remove(step.row.id);
        if (!removed) {
            const auto found = m_work.source.Find(step.row.id);
            if (found && !*found) removed = {};
        }
        if (m_ledger.Check(removed, step.row.name)) m_removed.push_back(&step);
    }

    void Mark(const MailStep& step) {
        const auto now = m_ledger.Now(step);
        if (!now) return;
        RememberedMail row = now->row;
        const std::uint32_t status = StatusOf(row.flags);
        if (!m_ledger.Check(m_work.source.SetStatus(row.id, status), row.name)) return;
        row.marker = std::to_string(status);
        m_marked.push_back({&step, std::move(row)});
    }

    // Reads a mail and its row into the batch. The row has no id until the mail is added; an
    // interrupted run finds the mail by its Message-ID.
    void Prepare(const MailStep& step) {
        auto mail = ReadNamed(step);
        if (!mail) return;
        RememberedMail row = step.row;
        row.link = MailLink::kAdding;
        row.id.clear();
        row.marker = std::to_string(StatusOf(step.file.flags));
        row.messageId = mail->messageId;
        row.unique = step.file.unique;
        row.flags = step.file.flags;
        row.fileId = mail->messageId;
        row.content = Lines(mail->attachments);
        m_batch.push_back({&step, *std::move(mail), std::move(row)});
    }

    void Add(Addition& addition) {
        const RememberedMail& row = addition.row;
        auto head = m_work.source.Add(addition.mail, StatusOf(row.flags));
        if (!head) return (void)m_ledger.Check(head.Error(), row.name);
        addition.row.id = std::move(head->id);
        Note(row.name, addition.mail);
    }

    // Remembers the added mails with Eudora's present values. A mail that is not found was not
    // stored: the next run adds it again and takes back the copies of its attachments.
    void RememberAdded() {
        for (Addition& addition : m_batch) {
            RememberedMail& row = addition.row;
            if (row.id.empty()) continue;
            const auto head = m_work.source.Find(row.id);
            const auto messageId = head && *head ? m_work.source.MessageId() : std::nullopt;
            if (!messageId || *messageId != row.messageId) continue;
            const auto mail = m_work.source.Read(mail::MailParts::kWithoutAttachments);
            row.link = MailLink::kInStep;
            row.marker = (*head)->marker;
            row.content = mail ? ContentOf(*mail) : std::string();
            m_ledger.change.put.push_back(std::move(row));
            m_ledger.Did(*addition.step);
        }
        m_batch.clear();
        m_batchBytes = 0;
    }

    // False if storing failed: what stopped one stops the others too.
    bool StoreBatch() {
        if (!m_ledger.Save(m_batch)) return false;
        for (Addition& addition : m_batch) Add(addition);
        const bool isFinished = m_ledger.Check(m_work.source.Finish(), "Eudora");
        if (isFinished) {
            for (Marking& marking : m_marked) {
                m_ledger.change.put.push_back(std::move(marking.row));
                m_ledger.Did(*marking.step);
            }
        }
        m_marked.clear();
        RememberAdded();
        return m_ledger.Save() && isFinished;
    }

    bool IsFull(const std::vector<Addition>& batch) const {
        return batch.size() >= kBatchMails || m_batchBytes >= kBatchBytes;
    }

    bool AddAll() {
        const std::size_t total = m_plan.report.Count(kEudora, kAdd);
        std::size_t done = 0;
        for (const MailStep& step : m_plan.steps) {
            if (step.act != sync::Act{kEudora, kAdd}) continue;
            m_work.progress.Step("mail for Eudora", ++done, total);
            Prepare(step);
            if (IsFull(m_batch) && !StoreBatch()) return false;
        }
        if (m_batch.empty() && m_marked.empty()) return m_ledger.Save();
        return StoreBatch();
    }

    // Moves the file of a queued mail to .Sent and forgets its row: nothing else remembers that it
    // was queued.
    void File(const MailStep& step, std::int64_t key) {
        if (!m_ledger.Check(m_work.folders.sent.Create(), ".Sent")) return;
        const auto moved = m_work.folders.outbox.MoveInto(
            m_work.folders.sent, step.file, maildir::WithFlag(step.file.flags, 'S', true));
        if (!moved && moved.Error().code != ErrorCode::kNotFound) {
            (void)m_ledger.Check(moved, step.row.name);
            return;
        }
        m_hasSent = true;
        m_ledger.change.forget.push_back(key);
        m_ledger.Did(step);
    }

    // Prepares the next mails to be handed over, and takes them off the list.
    std::vector<Addition> NextOutgoing(std::deque<const MailStep*>& waiting) {
        std::vector<Addition> batch;
        for (m_batchBytes = 0; !waiting.empty() && !IsFull(batch); waiting.pop_front()) {
            auto mail = ReadNamed(*waiting.front());
            if (!mail) continue;
            RememberedMail row = waiting.front()->row;
            row.content = Lines(mail->attachments);
            batch.push_back({waiting.front(), *std::move(mail), std::move(row)});
        }
        return batch;
    }

    // Remembers a batch before anything of it can be in the out-box of `before` mails.
    bool RememberOutgoing(std::vector<Addition>& batch, std::size_t before) {
        for (std::size_t i = 0; i < batch.size(); ++i) {
            batch[i].row.size = before;
            batch[i].row.marker = std::to_string(i);
        }
        return m_ledger.Save(batch);
    }

    // Queues a batch. The translator hands its mails over in order and ends at the first failure,
    // so the number of mails in the out-box tells which are there; those behind the failed one go
    // back on the list. False if it ends the sending.
    bool Send(std::vector<Addition> batch, std::deque<const MailStep*>& waiting) {
        if (batch.empty()) return true;
        const auto before = m_work.queued();
        if (!before) return m_ledger.Check(before.Error(), "Out.toc");
        if (!RememberOutgoing(batch, *before)) return false;
        for (Addition& one : std::exchange(batch, {})) {
            const bool isTaken = m_ledger.Check(m_work.source.AddOutgoing(one.mail), one.row.name);
            if (isTaken) {
                batch.push_back(std::move(one));
            } else {
                m_ledger.change.forget.push_back(one.row.key);
            }
        }
        if (!m_ledger.change.forget.empty() && !RememberOutgoing(batch, *before)) return false;
        const auto finished = m_work.source.Finish();
        const auto after = m_work.queued();
        if (!finished && !after) return m_ledger.Check(finished, "Eudora");
        const std::size_t arrived = after ? *after - std::min(*before, *after) : 0;
        const std::size_t sent = finished ? batch.size() : std::min(batch.size(), arrived);
        for (std::size_t i = 0; i < batch.size(); ++i) {
            auto& [step, mail, row] = batch[i];
            if (i < sent) {
                m_ledger.Did(*step);
                Note(row.name, mail);
                File(*step, row.key);
                continue;
            }
            m_ledger.change.forget.push_back(row.key);
            if (i == sent) (void)m_ledger.Check(finished, row.name);
        }
        for (std::size_t i = batch.size(); i > sent + 1; --i) waiting.push_front(batch[i - 1].step);
        return true;
    }

    void SendAll() {
        std::deque<const MailStep*> waiting;
        for (const MailStep& step : m_plan.steps) {
            if (step.act.verb == kFile) File(step, step.row.key);
            if (step.act.verb == kQueue) waiting.push_back(&step);
        }
        const std::size_t total = waiting.size();
        while (!waiting.empty()) {
            m_work.progress.Step("mail for sending", total - waiting.size(), total);
            if (!Send(NextOutgoing(waiting), waiting)) break;
        }
        if (m_hasSent) (void)m_ledger.Check(m_work.folders.sent.Settle({}), ".Sent");
        (void)m_ledger.Save();
    }

    // The removals are over only when Eudora's library has been signed off from, and whether it
    // moved the mails is seen by who is left.
    void FinishRemovals() {
        if (m_removed.empty()) return;
        auto ended = m_work.source.SignOff();
        const auto left = m_work.inBox();
        if (ended && !left) ended = left.Error();
        if (!m_ledger.Check(ended, "Eudora's in-box")) return;
        std::size_t staying = 0;
        for (const MailStep* step : m_removed) {
            if (left->contains(step->row.id)) {
                ++staying;
                continue;
            }
            m_ledger.change.forget.push_back(step->row.key);
            m_ledger.Did(*step);
        }
        if (staying > 0) {
            (void)m_ledger.Check(
                base::Failed(std::to_string(staying) + " of " + std::to_string(m_removed.size()) +
                             " removed mails could not be moved to the Trash and are still there; "
                             "make room on the disk, then run this again"),
                "Eudora's in-box");
        }
        (void)m_ledger.Save();
    }

    const MailPlan& m_plan;
    const MailWork& m_work;
    Ledger& m_ledger;
    std::vector<Addition> m_batch;
    std::size_t m_batchBytes = 0;
    std::vector<Marking> m_marked;  // since the last Finish
    std::vector<const MailStep*> m_removed;
    bool m_hasSent = false;
};

}  // namespace

void ExecuteOnEudora(const MailPlan& plan, const MailWork& work, Ledger& ledger) {
    EudoraExecution(plan, work, ledger).Run();
}

}  // namespace host::mailsync
