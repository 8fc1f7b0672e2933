#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "host/mail/parse.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/tell_apart.h"
#include "tests/host/sync_world.h"

namespace host::testing {

using Names = std::multiset<std::string>;

// An in-box in memory. Hidden mails are those that the limits leave out. A torn Finish carries out
// a half. As in the translator a new mail's attachments are copied at once, and it stands read
// until Finish gets to the states.
class MemoryMails : public mail::MailSource {
  public:
    explicit MemoryMails(SyncWorld& world) : m_world(world) {}

    std::vector<mail::Mail> mails, trash;
    Names queued;  // subjects of mails to be sent
    unsigned ids = 0;
    std::set<std::string> hidden, unreadable;  // ids
    std::size_t walks = 0, searches = 0;       // the latter for mails with ids of their own
    bool isBackedUp = false, isTouched = false;

    std::string NextId() { return "id" + std::to_string(++ids); }
    mail::Mail& Put(std::vector<mail::Mail>& to, const std::string& subject,
                    const std::string& text, std::optional<std::string> messageId, bool isRead) {
        mail::Mail mail;
        mail.id = NextId();
        mail.from = "a@b";
        mail.subject = subject;
        mail.body = text + "\r\n";
        mail.messageId = std::move(messageId);
        mail.marker = MarkerOf(isRead);
        return to.emplace_back(mail);
    }
    static std::string MarkerOf(bool isRead) {
        return std::to_string(isRead ? mail::kStatusRead : mail::kStatusUnread);
    }
    mail::Mail& Get(const std::string& subject) {
        return *std::ranges::find(mails, std::optional(subject), &mail::Mail::subject);
    }
    auto At(const std::string& id) { return std::ranges::find(mails, id, &mail::Mail::id); }
    std::set<std::string> Ids() const {
        std::set<std::string> ids;
        for (const mail::Mail& mail : mails) ids.insert(mail.id);
        return ids;
    }
    // A new run; what waited in one that was killed is gone.
    void Restart() {
        m_waiting = m_states = {};
        m_leaving.clear();
        m_copies.clear();
        isBackedUp = isTouched = false;
    }

    std::uint64_t largest = MailSource::LargestAttachment();  // that the limits let pass

    bool HasLimits() const override { return !hidden.empty(); }
    std::uint64_t LargestAttachment() const override { return largest; }
    base::Status Walk(mail::Reach reach, const Visit& visit) override {
        ++walks;
        for (const mail::Mail& mail : mails) {
            if (reach == mail::Reach::kWithinLimits && hidden.contains(mail.id)) continue;
            m_current = &mail;
            auto visited = visit({mail.id, unreadable.contains(mail.id) ? "" : mail.marker});
            if (!visited) return visited.Error();
        }
        return {};
    }
    base::Result<std::optional<mail::MailHead>> Find(const std::string& id) override {
        const auto found = At(id);
        if (found == mails.end()) return std::optional<mail::MailHead>();
        m_current = &*found;
        searches += mail::CanKeepMessageId(*MessageId()) && MessageId() != "shared@x";
        if (unreadable.contains(id)) return base::Failed(id + " cannot be read");
        return std::optional<mail::MailHead>({found->id, found->marker});
    }
    std::optional<std::string> MessageId() override { return m_current->messageId.value_or(""); }
    std::string Name() override { return mail::MailName(*m_current->subject, *m_current->from); }
    base::Result<mail::Mail> Read(mail::MailParts) override {
        if (unreadable.contains(m_current->id))
            return base::Failed(m_current->id + " cannot be read");
        mail::Mail mail = *m_current;
        mail.attachments.clear();
        for (const mail::MailAttachment& one : m_current->attachments) {
            const std::uint64_t size = m_world.disk.Get(one.path)->size();
            if (size <= largest) {
                mail.attachments.push_back(one);
            } else {
                mail.leftOut = mail.leftOut == 0 ? size : std::min(mail.leftOut, size);
            }
        }
        return mail;
    }

    base::Result<mail::MailHead> Add(const mail::NewMail& mail, std::uint32_t status) override {
        std::vector<mail::Mail> box;
        mail::Mail& added = Put(box, mail.subject, mail.body, mail.messageId, true);
        added.to = mail::StoredRecipients(mail.to);
        if (auto copied = CopyAttachments(mail, &added); !copied) return copied.Error();
        m_waiting.push_back([this, added] { mails.push_back(added); });
        (void)SetStatus(added.id, status);
        return mail::MailHead{added.id, std::to_string(status)};
    }
    base::Status AddOutgoing(const mail::NewMail& mail) override {
        if (mail.to.empty()) return base::Failed("no recipient");
        if (auto status = CopyAttachments(mail); !status) return status;
        m_waiting.push_back([this, subject = mail.subject] { queued.insert(subject); });
        return {};
    }
    base::Status SetStatus(const std::string& id, std::uint32_t status) override {
        Touch();
        m_states.push_back([this, id, status] {
            if (const auto mail = At(id); mail != mails.end())
                mail->marker = std::to_string(status);
        });
        return {};
    }
    base::Status Remove(const std::string& id) override {
        Touch();
        if (auto struck = m_world.Strike("remove"); !struck) return struck;
        if (At(id) == mails.end()) return base::Failed(id);
        m_leaving.push_back(id);
        return {};
    }
    base::Status Finish() override {
        const auto struck = m_world.Strike("close");
        auto waiting = std::exchange(m_waiting, {});
        std::ranges::move(std::exchange(m_states, {}), std::back_inserter(waiting));
        if (!struck) waiting.resize(m_world.files.Tears() ? waiting.size() / 2 : 0);
        for (const auto& act : waiting) act();
        for (const std::string& path : std::exchange(m_copies, {})) {
            // Twice, so that it is there only after a kill.
            if (!AttachmentPaths().contains(path) && !m_world.files.Delete(path)) {
                (void)m_world.files.Delete(path);
            }
        }
        return struck;
    }
    // One that is struck leaves those that a torn one does not move.
    base::Status SignOff() override {
        const bool isStruck = !m_world.Strike("sign off");
        if (isStruck) m_leaving.resize(m_world.files.Tears() ? m_leaving.size() / 2 : 0);
        for (const std::string& id : std::exchange(m_leaving, {})) {
            trash.push_back(*At(id));
            mails.erase(At(id));
        }
        return {};
    }
    // Of all mails, those in the trash too.
    std::set<std::string> AttachmentPaths() {
        std::set<std::string> paths;
        for (const auto* box : {&mails, &trash}) {
            for (const mail::Mail& mail : *box)
                for (const auto& attachment : mail.attachments) paths.insert(attachment.path);
        }
        return paths;
    }

  private:
    void Touch() {
        EXPECT_TRUE(isBackedUp) << "changed before the backup";
        isTouched = true;
    }
    base::Status CopyAttachments(const mail::NewMail& mail, mail::Mail* to = nullptr) {
        Touch();
        for (const mail::NewAttachment& attachment : mail.attachments) {
            std::string path = "C:\\Attach\\" + attachment.copyName;
            while (m_world.files.Exists(path)) path.insert(path.rfind('.'), "1");
            m_copies.push_back(path);
            if (auto copied = m_world.files.Copy(attachment.path, path); !copied) return copied;
            if (to != nullptr) to->attachments.push_back({path.substr(10), path});
        }
        return {};
    }

    SyncWorld& m_world;
    std::vector<std::function<void()>> m_waiting, m_states;
    std::vector<std::string> m_copies;  // since the last Finish
    std::vector<std::string> m_leaving;
    const mail::Mail* m_current = nullptr;
};

// With an in-box and a Maildir. Mails are known by their subjects, which are the first names of
// their Message-IDs too.
struct MailWorld : SyncWorld {
    MemoryMails eudora{*this};
    MemoryOf<std::vector<state::RememberedMail>, state::MailMemoryChange> memory{*this};
    mailsync::MailFolders folders{files, clock, "C:\\M"};
    std::string tooLarge;  // memory runs out when the file of this subject is read for Eudora

    MailWorld() {
        (void)folders.mails.Create();
        (void)folders.outbox.Create();
        disk.MakeFolders("C:\\Attach\\");
        disk.MakeFolders("C:\\in\\");
    }
    // A mail that a person or a program puts into the Maildir; `id` begins its Message-ID, if it
    // has one.
    void Deliver(const std::string& subject, const std::string& flags, const std::string& id,
                 const std::string& where = "") {
        const std::string name = "1." + std::to_string(++m_delivered) + ".host";
        disk.Put(
            "C:\\M\\" + where + (flags.empty() ? "new\\" + name : "cur\\" + name + "!2," + flags),
            "From: a@b\nTo: c@d\nSubject: " + subject + "\n" +
                (id.empty() ? "" : "Message-ID: <" + id + "@x>\n") +
                "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nthe text of " + subject +
                "\n--b\nContent-Disposition: attachment; filename=a.txt\n\n" + subject +
                "\n--b--\n");
    }
    mail::Mail& Add(const std::string& subject, std::optional<std::string> messageId,
                    bool isRead = false) {
        return eudora.Put(eudora.mails, subject, "the text of " + subject, std::move(messageId),
                          isRead);
    }
    void Attach(mail::Mail& mail, std::size_t size) {
        const std::string name = *mail.subject + ".dat";
        disk.Put("C:\\Attach\\" + name, std::string(size, 'x'));
        mail.attachments.push_back({name, "C:\\Attach\\" + name});
    }
    void AddMany(int count) {
        for (int i = 0; i < count; ++i) Add("m" + std::to_string(i), std::to_string(i) + "@x");
    }
    // With its attachments, as Eudora does when it is told to.
    void Delete(const std::string& subject) {
        for (const auto& file : eudora.Get(subject).attachments) (void)disk.Delete(file.path);
        eudora.mails.erase(eudora.mails.begin() + (&eudora.Get(subject) - &eudora.mails[0]));
    }
    Names InBox() {
        Names all;
        for (const mail::Mail& mail : eudora.mails) {
            all.insert(NameIn(*mail.body) + (mailsync::IsSeen(mail.marker) ? ":S" : ":"));
        }
        return all;
    }
    // Without those on their way out, by "subject:flags".
    std::multimap<std::string, maildir::MaildirEntry> Files() {
        std::multimap<std::string, maildir::MaildirEntry> all;
        const auto listed = *folders.mails.List();
        for (const maildir::MaildirEntry& entry : listed) {
            if (!maildir::HasFlag(entry.flags, 'T'))
                all.emplace(NameIn(Text(entry)) + ':' + entry.flags, entry);
        }
        return all;
    }
    Names Folder() {
        Names all;
        for (const auto& [name, file] : Files()) all.insert(name);
        return all;
    }
    maildir::MaildirEntry File(const std::string& subject) {
        const auto all = Files();
        return all.lower_bound(subject + ':')->second;
    }
    std::string Text(const maildir::MaildirEntry& entry) {
        return *disk.Get("C:\\M\\" + std::string(entry.isNew ? "new\\" : "cur\\") + entry.name);
    }
    // The subject, by which the text calls itself too.
    static std::string NameIn(const std::string& text) {
        const auto at = text.find("the text of ");
        if (at == std::string::npos) return "?";
        return text.substr(at + 12, text.find_first_of("\r\n", at) - at - 12);
    }

    mailsync::MailPlan MakePlan() {
        auto sides = mailsync::LoadMailSides(eudora, folders, memory.rows, 1252, progress);
        mailsync::MailPlan plan;
        if (!sides) {
            plan.report.stop = {sides.Error()};
            return plan;
        }
        sides->queued = eudora.queued.size();
        return mailsync::PlanMail(*sides, options);
    }
    // A plan that stops gives its reason as an error.
    sync::Report Sync() {
        eudora.Restart();
        const mailsync::MailPlan plan = MakePlan();
        if (plan.report.stop) {
            sync::Report report;
            report.errors = {plan.report.stop->why.Message()};
            return report;
        }
        const sync::RunContext context{files, clock, {}, {}, {}};
        mail::AttachFolder attachments(files, "C:\\Attach", 1252);
        const auto parse = [&](std::string_view bytes, const std::string& name) {
            if (!tooLarge.empty() && name.starts_with(tooLarge)) throw std::bad_alloc();
            return mail::ParseMail(bytes, {disk, "C:\\in", 1252, clock}, name);
        };
        const auto backUp = [&] {
            const auto struck = Strike("backup");
            eudora.isBackedUp = struck.HasValue();
            return struck;
        };
        return mailsync::ExecuteMail(
            plan,
            {context, eudora, folders, memory, attachments, progress, parse,
             [&] { return base::Result<std::size_t>(eudora.queued.size()); },
             [&] { return base::Result<std::set<std::string>>(eudora.Ids()); }, backUp, 1252});
    }
    // A sync that must leave nothing for a second one to do.
    sync::Report SyncWhole() {
        sync::Report report = Sync();
        EXPECT_TRUE(report.errors.empty()) << report.errors[0];
        const bool removes = report.Count(sync::Side::kFolder, sync::Verb::kRemove) > 0;
        EXPECT_EQ(eudora.isBackedUp, eudora.isTouched || removes) << "a backup for nothing";
        EXPECT_EQ(report.undone, 0u);
        eudora.walks = eudora.searches = 0;
        for (const mailsync::MailStep& step : MakePlan().steps) {
            ADD_FAILURE() << "left to do: " << static_cast<int>(step.act.side) << ' '
                          << static_cast<int>(step.act.verb) << ' ' << step.row.name;
        }
        eudora.walks = eudora.searches = 0;
        (void)MakePlan();
        EXPECT_LE(eudora.walks, 2u);
        EXPECT_LE(eudora.searches, mailsync::kMostSearches);
        return report;
    }

  private:
    int m_delivered = 0;
};

}  // namespace host::testing
