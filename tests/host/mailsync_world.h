#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/maildir/maildir_name.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/load_mail.h"
#include "platform/testing/faulty_files.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"

namespace host::testing {

// An in-box in memory. Hidden mails are those that the limits leave out.
class MemoryMails : public MailSource {
  public:
    std::vector<Mail> mails;
    std::set<std::string> hidden;  // ids
    int reads = 0, walks = 0, searches = 0;

    Mail& Get(const std::string& subject) {
        return *std::ranges::find(mails, std::optional(subject), &Mail::subject);
    }
    bool HasLimits() const override { return !hidden.empty(); }
    platform::Status Walk(Reach reach,
                          const std::function<platform::Status(const MailHead&)>& visit) override {
        ++walks;
        for (const Mail& mail : mails) {
            if (reach == Reach::kWithinLimits && hidden.contains(mail.id)) continue;
            m_current = &mail;
            if (auto visited = visit({mail.id, mail.marker}); !visited) return visited;
        }
        return {};
    }
    platform::Result<std::optional<MailHead>> Find(const std::string& id) override {
        ++searches;
        const auto found = std::ranges::find(mails, id, &Mail::id);
        if (found == mails.end()) return std::optional<MailHead>();
        m_current = &*found;
        return std::optional<MailHead>({found->id, found->marker});
    }
    std::optional<std::string> MessageId() override { return m_current->messageId.value_or(""); }
    std::string Name() override { return *m_current->subject; }
    platform::Result<Mail> Read(MailParts) override {
        ++reads;
        return *m_current;
    }

  private:
    const Mail* m_current = nullptr;
};

// Saves count as operations of the file system that faults are injected into.
class MemoryMailMemory : public MailMemory {
  public:
    explicit MemoryMailMemory(platform::testing::FaultyFiles& files) : m_files(files) {}

    std::vector<RememberedMail> rows;
    int saves = 0;

    platform::Result<std::vector<RememberedMail>> Load() override { return rows; }
    platform::Status Save(const MailMemoryChange& change) override {
        if (m_files.Strikes()) return m_files.Injected("state");
        ++saves;
        for (const std::int64_t key : change.forget) {
            std::erase_if(rows, [&](const auto& row) { return row.key == key; });
        }
        for (RememberedMail row : change.put) {
            std::erase_if(rows, [&](const auto& old) { return old.key == row.key; });
            if (row.key == 0) row.key = ++m_keys;
            rows.push_back(std::move(row));
        }
        for (RememberedMail& row : rows) {
            if (change.settle && row.link == MailLink::kPending) row.link = MailLink::kInStep;
        }
        return {};
    }

  private:
    platform::testing::FaultyFiles& m_files;
    std::int64_t m_keys = 0;
};

// An in-box, a Maildir on a disk in memory, the memory, and the runs between them. Mails are known
// by their subjects, which are the first names of their Message-IDs too.
struct MailWorld {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    MemoryMails eudora;
    MemoryMailMemory memory{files};
    Maildir maildir{files, clock, "C:\\M"};
    MailPlanOptions options{Prefer::kBoth, DeleteLimit{100, true}};
    unsigned ids = 0;

    MailWorld() { (void)maildir.Create(); }

    Mail& Add(const std::string& subject, bool isRead = false, bool hasId = true) {
        Mail mail;
        char id[11];
        std::snprintf(id, sizeof id, "0x%08X", ++ids);
        mail.id = id;
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
    void SetRead(Mail& mail, bool isRead) {
        mail.status = isRead ? kStatusRead : kStatusUnread;
        mail.marker = std::to_string(*mail.status);
    }
    void Delete(const std::string& subject) {
        std::erase_if(eudora.mails, [&](const Mail& mail) { return mail.subject == subject; });
    }
    // The mailbox is built anew: every mail has another id.
    void Renumber() {
        std::set<std::string> nowHidden;
        for (Mail& mail : eudora.mails) {
            char id[11];
            std::snprintf(id, sizeof id, "0x%08X", ++ids);
            if (eudora.hidden.contains(mail.id)) nowHidden.insert(id);
            mail.id = id;
        }
        eudora.hidden = nowHidden;
    }

    std::vector<MaildirEntry> Files() { return *maildir.List(); }
    std::string Text(const MaildirEntry& entry) {
        return *disk.Get("C:\\M\\" + std::string(entry.isNew ? "new\\" : "cur\\") + entry.name);
    }
    std::string SubjectOf(const MaildirEntry& entry) {
        const std::string text = Text(entry);
        const auto at = text.find("Subject: ");
        if (at == std::string::npos) return "?";
        return text.substr(at + 9, text.find_first_of("\r\n", at) - at - 9);
    }
    MaildirEntry File(const std::string& subject) {
        for (const MaildirEntry& entry : Files()) {
            if (SubjectOf(entry) == subject) return entry;
        }
        return {};
    }
    // "subject", or "subject:flags" in cur, with a blank between them.
    std::string Folder() {
        std::multiset<std::string> all;
        for (const MaildirEntry& entry : Files()) {
            all.insert(SubjectOf(entry) + (entry.isNew ? "" : ":" + entry.flags));
        }
        std::string line;
        for (const std::string& one : all) line += (line.empty() ? "" : " ") + one;
        return line;
    }
    MailPlan MakePlan() {
        Progress progress(clock, nullptr);
        const auto sides = LoadMailSides(eudora, maildir, memory.rows, progress);
        if (!sides) {
            MailPlan plan;
            plan.stop = sides.Error().Message();
            return plan;
        }
        return PlanMail(*sides, memory.rows, options);
    }
    MailPlan Sync(MailOutcome* outcome = nullptr) {
        MailPlan plan = MakePlan();
        if (plan.stop || plan.steps.empty()) return plan;
        Progress progress(clock, nullptr);
        MailOutcome done = ExecuteMail(plan, {eudora, maildir, memory, files, clock, progress});
        if (outcome != nullptr) *outcome = std::move(done);
        return plan;
    }
};

}  // namespace host::testing
