#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/mail/mail.h"
#include "host/mail/parse.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/load_mail.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/host/fault_sweep.h"

namespace host::testing {

// An in-box in memory. Hidden mails are those that the limits leave out. Changes count as
// operations of the file system that faults are injected into; a torn Finish carries out a half. As
// in the translator a new mail's attachments are copied at once, and it stands read until Finish
// gets to the states.
class MemoryMails : public mail::MailSource {
  public:
    explicit MemoryMails(platform::testing::FaultyFiles& files) : m_files(files) {}

    std::vector<mail::Mail> mails, trash;
    std::vector<std::string> queued;  // subjects of mails to be sent
    unsigned ids = 0;
    std::set<std::string> hidden;      // ids
    std::set<std::string> unreadable;  // the same
    int reads = 0, walks = 0, searches = 0, changes = 0;

    std::string NextId() {
        char id[11];
        std::snprintf(id, sizeof id, "0x%08X", ++ids);
        return id;
    }

    mail::Mail& Get(const std::string& subject) {
        return *std::ranges::find(mails, std::optional(subject), &mail::Mail::subject);
    }
    bool HasLimits() const override { return !hidden.empty(); }
    host::base::Status Walk(mail::Reach reach, const Visit& visit) override {
        ++walks;
        for (const mail::Mail& mail : mails) {
            if (reach == mail::Reach::kWithinLimits && hidden.contains(mail.id)) continue;
            m_current = &mail;
            const bool isReadable = !unreadable.contains(mail.id);
            auto visited = visit({mail.id, isReadable ? mail.marker : std::string()});
            if (!visited) return visited.Error();
        }
        return {};
    }
    host::base::Result<std::optional<mail::MailHead>> Find(const std::string& id) override {
        ++searches;
        const auto found = std::ranges::find(mails, id, &mail::Mail::id);
        if (found == mails.end()) return std::optional<mail::MailHead>();
        m_current = &*found;
        if (unreadable.contains(id)) return Fault();
        return std::optional<mail::MailHead>({found->id, found->marker});
    }
    std::optional<std::string> MessageId() override { return m_current->messageId.value_or(""); }
    std::string Name() override { return mail::MailName(*m_current->subject, *m_current->from); }
    host::base::Result<mail::Mail> Read(mail::MailParts) override {
        ++reads;
        if (unreadable.contains(m_current->id)) return Fault();
        return *m_current;
    }

    host::base::Result<mail::MailHead> Add(const mail::NewMail& mail,
                                           std::uint32_t status) override {
        mail::Mail added;
        added.id = NextId();
        added.from = mail.from;
        added.subject = mail.subject;
        added.body = mail.body + "\r\n";
        added.date = mail.date;
        added.messageId = mail.messageId;
        added.status = mail::kStatusRead;
        added.marker = std::to_string(mail::kStatusRead);
        if (auto copied = CopyAttachments(mail, added); !copied) return copied.Error();
        m_waiting.push_back([this, added] { mails.push_back(added); });
        (void)SetStatus(added.id, status);
        return mail::MailHead{added.id, std::to_string(status)};
    }
    host::base::Status AddOutgoing(const mail::NewMail& mail) override {
        if (mail.to.empty()) return host::base::Failed("no recipient");
        mail::Mail copied;
        if (auto status = CopyAttachments(mail, copied); !status) return status;
        m_waiting.push_back([this, subject = mail.subject] { queued.push_back(subject); });
        return {};
    }
    host::base::Status SetStatus(const std::string& id, std::uint32_t status) override {
        m_states.push_back([this, id, status] {
            const auto mail = std::ranges::find(mails, id, &mail::Mail::id);
            if (mail == mails.end()) return;
            mail->status = status;
            mail->marker = std::to_string(status);
        });
        return {};
    }
    host::base::Status Remove(const std::string& id) override {
        if (m_files.Strikes()) return m_files.Injected("remove");
        const auto mail = std::ranges::find(mails, id, &mail::Mail::id);
        if (mail == mails.end()) return host::base::Failed(id);
        ++changes;
        trash.push_back(*mail);
        mails.erase(mail);
        return {};
    }
    host::base::Status Finish() override {
        const bool isHit = m_files.Strikes();
        auto waiting = std::exchange(m_waiting, {});
        std::ranges::move(std::exchange(m_states, {}), std::back_inserter(waiting));
        std::size_t count = waiting.size();
        if (isHit) count = m_files.Tears() ? count / 2 : 0;
        for (std::size_t i = 0; i < count; ++i) waiting[i]();
        changes += static_cast<int>(count);
        for (const std::string& path : std::exchange(m_copies, {})) {
            // Twice, so that it is there only after a kill.
            if (!AttachmentPaths().contains(path) && !m_files.Delete(path)) {
                (void)m_files.Delete(path);
            }
        }
        if (isHit) return m_files.Injected("close");
        return {};
    }
    // The run was killed: what waited is gone.
    void Die() {
        m_waiting.clear();
        m_states.clear();
        m_copies.clear();
    }
    // Of all mails, those in the trash too.
    std::set<std::string> AttachmentPaths() {
        std::set<std::string> paths;
        for (const auto* box : {&mails, &trash}) {
            for (const mail::Mail& mail : *box) {
                for (const auto& attachment : mail.attachments) paths.insert(attachment.path);
            }
        }
        return paths;
    }

  private:
    host::base::Failure Fault() const {
        return host::base::Failed(m_current->id + " cannot be read");
    }
    host::base::Status CopyAttachments(const mail::NewMail& mail, mail::Mail& target) {
        for (const mail::NewAttachment& attachment : mail.attachments) {
            std::string path = "C:\\Attach\\" + attachment.copyName;
            while (m_files.Exists(path)) path.insert(path.rfind('.'), "1");
            m_copies.push_back(path);
            if (auto copied = m_files.Copy(attachment.path, path); !copied) return copied;
            target.attachments.push_back({path.substr(10), path});
        }
        return {};
    }

    platform::testing::FaultyFiles& m_files;
    std::vector<std::function<void()>> m_waiting, m_states;
    std::vector<std::string> m_copies;  // since the last Finish
    const mail::Mail* m_current = nullptr;
};

class MemoryMailMemory : public state::MailMemory, public MemoryRows<state::RememberedMail> {
  public:
    using MemoryRows::MemoryRows;

    host::base::Result<std::vector<state::RememberedMail>> Load() override { return rows; }
    using state::MailMemory::Save;
    host::base::Status Save(state::MailMemoryChange& change) override {
        if (auto saved = MemoryRows::Save(change.put, change.forget); !saved) return saved;
        for (state::RememberedMail& row : rows) {
            if (change.settle && row.link == state::MailLink::kPending)
                row.link = state::MailLink::kInStep;
        }
        return {};
    }
};

// An in-box, a Maildir on a disk in memory, the memory, and the runs between them. Mails are known
// by their subjects, which are the first names of their Message-IDs too.
struct MailWorld {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    MemoryMails eudora{files};
    MemoryMailMemory memory{files};
    sync::CommandPlace place{files, clock, {}, {}};
    mailsync::MailFolders folders{files, clock, "C:\\M"};
    maildir::Maildir& maildir = folders.mails;
    std::optional<mail::AttachFolder> attachments;
    std::string tooLarge;  // memory runs out when the file of this subject is read for Eudora
    int backups = 0;
    sync::Options options{sync::Prefer::kBoth, sync::DeleteLimit{100, true}};
    MailWorld() {
        (void)maildir.Create();
        (void)folders.outbox.Create();
        disk.MakeFolders("C:\\Attach\\");
        disk.MakeFolders("C:\\in\\");
    }
    // A mail that a person or a program puts into the Maildir.
    void Deliver(const std::string& subject, const std::string& flags = "", bool hasId = true,
                 const std::string& where = "") {
        const std::string name = "1." + std::to_string(++m_delivered) + ".host";
        std::string text = "From: a@b\nTo: c@d\nSubject: " + subject + "\n";
        if (hasId) text += "Message-ID: <" + subject + "@x>\n";
        disk.Put(
            "C:\\M\\" + where + (flags.empty() ? "new\\" + name : "cur\\" + name + "!2," + flags),
            text + "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nthe text of " + subject +
                "\n--b\nContent-Disposition: attachment; filename=a.txt\n\n" + subject +
                "\n--b--\n");
    }
    static std::string Joined(const std::multiset<std::string>& all) {
        std::string line;
        for (const std::string& one : all) line += (line.empty() ? "" : " ") + one;
        return line;
    }
    // "subject", or "subject:S" for a read one, with a blank between them.
    std::string InBox() {
        std::multiset<std::string> all;
        for (const mail::Mail& mail : eudora.mails) {
            all.insert(*mail.subject + (mailsync::IsSeen(mail.marker) ? ":S" : ""));
        }
        return Joined(all);
    }
    // The same of the Maildir's files.
    std::string FolderStates() {
        std::multiset<std::string> all;
        for (const maildir::MaildirEntry& entry : Files()) {
            all.insert(SubjectOf(entry) + (maildir::HasFlag(entry.flags, 'S') ? ":S" : ""));
        }
        return Joined(all);
    }
    mail::Mail& Add(const std::string& subject, bool isRead = false, bool hasId = true) {
        mail::Mail mail;
        mail.id = eudora.NextId();
        mail.subject = subject;
        mail.from = "a@b";
        mail.body = "the text of " + subject + "\r\n";
        mail.date = 45000.5;
        if (hasId) mail.messageId = subject + "@x";
        eudora.mails.push_back(mail);
        SetRead(eudora.mails.back(), isRead);
        return eudora.mails.back();
    }
    void SetRead(const std::string& subject, bool isRead) { SetRead(eudora.Get(subject), isRead); }
    void SetRead(mail::Mail& mail, bool isRead) {
        mail.status = isRead ? mail::kStatusRead : mail::kStatusUnread;
        mail.marker = std::to_string(*mail.status);
    }
    // With its attachments, as Eudora does when it is told to.
    void Delete(const std::string& subject) {
        for (const auto& file : eudora.Get(subject).attachments) (void)disk.Delete(file.path);
        std::erase_if(eudora.mails,
                      [&](const mail::Mail& mail) { return mail.subject == subject; });
    }
    // The mailbox is built anew: every mail has another id.
    void Renumber() {
        std::set<std::string> nowHidden;
        for (mail::Mail& mail : eudora.mails) {
            const std::string id = eudora.NextId();
            if (eudora.hidden.contains(mail.id)) nowHidden.insert(id);
            mail.id = id;
        }
        eudora.hidden = nowHidden;
    }

    std::set<std::string> FilesBelow(const std::string& folder) {
        std::set<std::string> below;
        for (const std::string& path : disk.AllFiles()) {
            if (path.starts_with(folder)) below.insert(path);
        }
        return below;
    }
    std::vector<maildir::MaildirEntry> Files() { return *maildir.List(); }
    std::string Text(const maildir::MaildirEntry& entry) {
        return *disk.Get("C:\\M\\" + std::string(entry.isNew ? "new\\" : "cur\\") + entry.name);
    }
    std::string SubjectOf(const maildir::MaildirEntry& entry) {
        const std::string text = Text(entry);
        const auto at = text.find("Subject: ");
        if (at == std::string::npos) return "?";
        return text.substr(at + 9, text.find_first_of("\r\n", at) - at - 9);
    }
    maildir::MaildirEntry File(const std::string& subject) {
        for (const maildir::MaildirEntry& entry : Files()) {
            if (SubjectOf(entry) == subject) return entry;
        }
        return {};
    }
    // "subject", or "subject:flags" in cur, with a blank between them.
    std::string Folder() {
        std::multiset<std::string> all;
        for (const maildir::MaildirEntry& entry : Files()) {
            all.insert(SubjectOf(entry) + (entry.isNew ? "" : ":" + entry.flags));
        }
        return Joined(all);
    }
    mailsync::MailPlan MakePlan() {
        base::Progress progress(clock, nullptr);
        auto sides = mailsync::LoadMailSides(eudora, folders, memory.rows, progress);
        if (!sides) {
            mailsync::MailPlan plan;
            plan.stop = sides.Error().Message();
            return plan;
        }
        sides->queued = eudora.queued.size();
        return mailsync::PlanMail(*sides, options);
    }
    mailsync::MailWork Work(base::Progress& progress) {
        attachments.emplace(files, "C:\\Attach", 1252);
        return {place,
                eudora,
                folders,
                memory,
                *attachments,
                progress,
                [this](std::string_view bytes, const std::string& name) {
                    if (!tooLarge.empty() && name.starts_with(tooLarge)) throw std::bad_alloc();
                    return mail::ParseMail(bytes, {disk, "C:\\in", 1252, clock}, name);
                },
                [this] { return host::base::Result<std::size_t>(eudora.queued.size()); },
                [this]() -> host::base::Status {
                    if (files.Strikes()) return files.Injected("backup");
                    ++backups;
                    return {};
                }};
    }
    mailsync::MailPlan Sync(sync::Report* report = nullptr) {
        mailsync::MailPlan plan = MakePlan();
        if (plan.stop || plan.steps.empty()) return plan;
        base::Progress progress(clock, nullptr);
        sync::Report done = mailsync::ExecuteMail(plan, Work(progress));
        eudora.Die();
        if (report != nullptr) *report = std::move(done);
        return plan;
    }

  private:
    int m_delivered = 0;
};

}  // namespace host::testing
