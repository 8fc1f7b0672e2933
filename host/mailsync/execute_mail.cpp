#include "host/mailsync/execute_mail.h"

#include <algorithm>
#include <set>

#include "host/mail/compose.h"
#include "host/mail/mail.h"
#include "host/mail/parse.h"
#include "host/mailsync/execute_eudora.h"
#include "host/mailsync/tell_apart.h"
#include "platform/os/code_page.h"

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

    bool IsRenewal() const { return step->act.verb == kRedo; }
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
        bool isSettled = false;
        for (const MailStep& step : m_plan.steps) {
            if (step.act != sync::Act{kMemory, kRedo}) continue;
            // The other one of two files may not be on the disk yet.
            isSettled = isSettled || m_ledger.Check(m_work.folders.mails.Settle({}), "Maildir");
            if (!isSettled) return m_ledger.TakeReport();
            Redo(step);
        }
        const bool allDelivered = !m_areLeftoversLeft && ComposeAll();
        RemoveReplaced();
        if (m_areLeftoversLeft) return m_ledger.TakeReport();
        for (const MailStep& step : m_plan.steps) {
            if (step.act == sync::Act{kFolder, kChange}) SetFlags(step);
            if (step.act == sync::Act{kFolder, kRemove}) Remove(step);
            if (step.act == sync::Act{kMemory, kChange}) {
                if (const auto now = m_ledger.Now(step)) m_ledger.change.put.push_back(now->row);
            }
            if (step.act == sync::Act{kMemory, kRemove})
                m_ledger.change.forget.push_back(step.row.key);
        }
        Finish(allDelivered);
        const bool hasMore = changesEudora || m_plan.report.Count(kFolder, kFile) > 0;
        if (hasMore && !m_ledger.HasFailed()) ExecuteOnEudora(m_plan, m_work, m_ledger);
        return m_ledger.TakeReport();
    }

  private:
    // Nothing of the delivery is left; its mail is a new one in the same plan.
    void Redo(const MailStep& step) {
        m_work.folders.mails.Discard(step.row.unique);
        if (!step.file.name.empty()) {
            const auto removed = m_work.folders.mails.Remove(step.file);
            const bool isGone = removed || removed.Error().code == ErrorCode::kNotFound;
            // Of two files with one mail the row goes on telling which one is left over.
            if (!isGone && !m_ledger.Check(removed, step.file.name)) m_areLeftoversLeft = true;
            m_isFolderChanged = true;
        }
        if (step.row.key != 0) m_ledger.change.forget.push_back(step.row.key);
    }

    base::Result<mail::Mail> ReadMail(const MailStep& step) {
        auto found = m_work.source.Find(step.row.id);
        if (!found) return found.Error();
        if (!*found) return platform::Failure{ErrorCode::kNotFound, step.row.name};
        return m_work.source.Read(mail::MailParts::kAll);
    }

    // Whether the old file holds attachments that Eudora does not give now. Then it stays, and
    // lacks no more than the limits leave out.
    bool HoldsMore(const MailStep& step, const mail::Mail& mail) {
        auto& folders = m_work.folders;
        const auto old = base::OrOutOfMemory([&]() -> base::Result<mail::NewMail> {
            auto text = folders.mails.Read(step.file, mail::kLargestMessage);
            if (!text) return text.Error();
            return mail::ParseMail(*text, {folders.files, {}, m_work.codePage, folders.clock},
                                   step.row.name);
        });
        if (!old) return !m_ledger.Check(old.Error(), step.row.name);
        std::multiset<std::string> names;
        for (const auto& one : mail.attachments) names.insert(NameTrait(one.name));
        const bool isWhole = std::ranges::all_of(old->attachments, [&](const auto& one) {
            return names.contains(NameTrait(platform::ToUtf8(one.name, m_work.codePage)));
        });
        if (isWhole) return false;
        m_ledger.Note(
            step.row.name,
            {mail.leftOut > 0 ? "its file holds attachments that the limits leave out now; it is "
                                "composed again once they let them pass"
                              : "its file holds attachments that Eudora has no more, so it is not "
                                "composed again"});
        m_stillLacks[step.row.key] = static_cast<state::MailLack>(mail.leftOut);
        return true;
    }

    // False if the Maildir takes no more. A mail that is gone meanwhile, or cannot be read, is
    // passed over.
    bool Compose(Delivery& delivery) {
        RememberedMail& row = delivery.row;
        m_work.progress.Step("mail", ++m_tried, m_total);
        const auto mail = ReadMail(*delivery.step);
        if (!mail && mail.Error().code == ErrorCode::kNotFound) return true;
        if (!mail) return !m_ledger.Check(mail.Error(), row.name);
        if (delivery.IsRenewal() && HoldsMore(*delivery.step, *mail)) return true;
        bool isMailAtFault = false;
        const auto size = mail::ComposeInto(m_work.folders.mails, row.unique, m_work.context.files,
                                            m_work.context.clock, *mail, isMailAtFault);
        if (!size) {
            (void)m_ledger.Check(size.Error(), row.name);
            return isMailAtFault;
        }
        m_ledger.Note(row.name, mail->notes);
        row.size = *size;
        row.content = ContentOf(*mail);
        if (delivery.IsRenewal()) {
            row.content += '\n' + delivery.step->file.unique;
            row.name = mail::MailName(mail->subject.value_or(""), mail->from.value_or(""));
        }
        row.fileId = mail::MessageIdOf(*mail);
        row.lack = static_cast<state::MailLack>(mail->leftOut);
        delivery.isComposed = true;
        return true;
    }

    bool Deliver(const Delivery& delivery) {
        const RememberedMail& row = delivery.row;
        const auto status = m_work.folders.mails.Deliver(row.unique, row.flags);
        if (!m_ledger.Check(status, row.name)) return false;
        m_delivered.push_back(m_work.folders.mails.EntryOf(row.unique, row.flags));
        if (delivery.IsRenewal()) {
            m_renewals.push_back(delivery);
        } else {
            m_ledger.Did(*delivery.step);
        }
        return true;
    }

    // The mail is remembered as before.
    void GiveUp(const Delivery& delivery) {
        if (!delivery.IsRenewal()) return m_ledger.change.forget.push_back(delivery.row.key);
        RememberedMail& before = m_ledger.change.put.emplace_back(delivery.step->row);
        before.link = state::MailLink::kInStep;
        if (const auto lack = m_stillLacks.find(before.key); lack != m_stillLacks.end()) {
            before.lack = lack->second;
            m_ledger.Renewed(before, delivery.step->file);
        } else {
            m_ledger.DropRenewal(before.key);
        }
    }

    // Removes the files whose successors are delivered, once those are on the disk. One that
    // another program renamed meanwhile is still there: the next run knows it by its unique name.
    void RemoveReplaced() {
        if (m_renewals.empty()) return;
        if (!m_ledger.Check(m_work.folders.mails.Settle(m_delivered), "Maildir")) return;
        for (Delivery& delivery : m_renewals) {
            const MailStep& step = *delivery.step;
            const auto removed = m_work.folders.mails.Remove(step.file);
            if (!removed && removed.Error().code == ErrorCode::kNotFound) continue;
            if (!m_ledger.Check(removed, step.row.name)) continue;
            RememberedMail& row = delivery.row;
            row.link = state::MailLink::kInStep;
            row.content.resize(row.content.rfind('\n'));
            m_ledger.change.put.push_back(row);
            m_ledger.Renewed(row, m_work.folders.mails.EntryOf(row.unique, row.flags));
            m_ledger.Did(step);
        }
    }

    // False if a delivery failed: what stopped one stops the others too.
    bool DeliverBatch() {
        // The names are remembered before a file has them, so that the next run finds what is left.
        if (!m_ledger.Save(m_batch)) return false;
        m_isFolderChanged = true;
        bool isWhole = true;
        for (Delivery& delivery : m_batch) isWhole = isWhole && Compose(delivery);
        std::erase_if(m_batch, [&](const Delivery& delivery) {
            if (!delivery.isComposed) GiveUp(delivery);
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
        m_total = m_plan.report.Count(kFolder, kAdd) + m_plan.report.Count(kFolder, kRedo);
        if (m_total == 0) return true;
        if (!m_ledger.Check(m_work.folders.mails.Create(), "Maildir")) return false;
        for (const MailStep& step : m_plan.steps) {
            if (step.act != sync::Act{kFolder, kAdd} && step.act != sync::Act{kFolder, kRedo}) {
                continue;
            }
            Delivery& delivery = m_batch.emplace_back(Delivery{&step, step.row});
            RememberedMail& row = delivery.row;
            row.unique = m_work.folders.mails.NewName();
            if (delivery.IsRenewal()) {
                row.link = state::MailLink::kRenewing;
                row.content += '\n' + step.file.unique;
                row.flags = step.file.flags;
                m_ledger.BeginRenewal(row.key);
            }
            if (m_batch.size() >= kBatchMails && !DeliverBatch()) return false;
        }
        return m_batch.empty() || DeliverBatch();
    }

    // A file that another program renamed or removed meanwhile is the next run's affair.
    void SetFlags(const MailStep& step) {
        const auto now = m_ledger.Now(step);
        if (!now) return;
        const auto status = m_work.folders.mails.SetFlags(now->file, now->row.flags);
        if (!status && status.Error().code == ErrorCode::kNotFound) return;
        if (!m_ledger.Check(status, step.row.name)) return;
        m_isFolderChanged = true;
        m_ledger.change.put.push_back(now->row);
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
    std::vector<Delivery> m_renewals;                              // delivered
    std::unordered_map<state::Key, state::MailLack> m_stillLacks;  // their files stay
    Ledger m_ledger;
    bool m_isFolderChanged = false, m_areLeftoversLeft = false;
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

std::optional<MailStep> Ledger::Now(const MailStep& step) const {
    const auto found = m_renewals.find(step.row.key);
    if (found == m_renewals.end()) return step;
    if (!found->second) return std::nullopt;
    MailStep now = step;
    const RememberedMail& renewed = found->second->row;
    now.file = found->second->file;
    now.row.unique = renewed.unique;
    now.row.size = renewed.size;
    now.row.content = renewed.content;
    now.row.fileId = renewed.fileId;
    now.row.name = renewed.name;
    now.row.lack = renewed.lack;
    return now;
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
