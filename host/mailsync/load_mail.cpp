#include "host/mailsync/load_mail.h"

#include <algorithm>

#include "host/mail/message_id.h"
#include "host/mailsync/mail_content.h"
#include "host/mailsync/mail_matching.h"

namespace host {

namespace {

using platform::ErrorCode;

// Whether a file in the Maildir has this Message-ID as it is.
bool IsPlainId(const std::string& id) {
    Mail mail;
    mail.messageId = id;
    return !id.empty() && MessageIdOf(mail) == id;
}

class MailLoader {
  public:
    MailLoader(MailSource& source, Maildir& maildir, const std::vector<RememberedMail>& remembered,
               Progress& progress)
        : m_source(source), m_maildir(maildir), m_remembered(remembered), m_progress(progress) {}

    platform::Result<MailSides> Load();

  private:
    platform::Status ListFolder();
    bool MissesFiles() const;
    void FindForeign();
    platform::Status FindTorn();
    platform::Status WalkEudora(Reach reach);
    void See(const MailHead& head, bool isWithinLimits);
    std::vector<const RememberedMail*> Unseen() const;
    platform::Status FindHidden();
    // True if all of them are still there.
    platform::Result<bool> SearchOneByOne(const std::vector<const RememberedMail*>& unseen);
    platform::Status ReadUnidentified(const MailMatching& matching);
    platform::Status ReadForeign(const MailMatching& matching);
    platform::Result<Mail> ReadMail(const EudoraHead& head);

    MailSource& m_source;
    Maildir& m_maildir;
    const std::vector<RememberedMail>& m_remembered;
    Progress& m_progress;
    std::unordered_map<std::string, const RememberedMail*> m_byId;
    std::unordered_set<std::string> m_seen;
    MailSides m_sides;
    std::vector<const MaildirEntry*> m_foreign;  // nobody remembers them
};

bool MailLoader::MissesFiles() const {
    std::unordered_set<std::string_view> present;
    for (const MaildirEntry& file : m_sides.folder) present.insert(file.unique);
    return std::ranges::any_of(m_remembered, [&](const RememberedMail& row) {
        return row.link != MailLink::kDropped && !present.contains(row.unique);
    });
}

// A file that another program renames while the folder is read can be missed: one that is missing
// is looked for a second time.
platform::Status MailLoader::ListFolder() {
    auto first = m_maildir.List();
    if (!first) return first.Error();
    m_sides.folder = *std::move(first);
    if (!MissesFiles()) return {};
    auto second = m_maildir.List();
    if (!second) return second.Error();
    std::unordered_set<std::string> present;
    for (const MaildirEntry& file : *second) present.insert(file.unique);
    for (MaildirEntry& file : m_sides.folder) {
        if (!present.contains(file.unique)) second->push_back(std::move(file));
    }
    m_sides.folder = *std::move(second);
    return {};
}

void MailLoader::FindForeign() {
    std::unordered_set<std::string_view> remembered;
    for (const RememberedMail& row : m_remembered) remembered.insert(row.unique);
    for (const MaildirEntry& file : m_sides.folder) {
        if (!remembered.contains(file.unique)) m_foreign.push_back(&file);
    }
}

platform::Status MailLoader::FindTorn() {
    std::unordered_map<std::string_view, const RememberedMail*> pending;
    for (const RememberedMail& row : m_remembered) {
        if (row.link == MailLink::kPending) pending.emplace(row.unique, &row);
    }
    if (pending.empty()) return {};
    for (const MaildirEntry& file : m_sides.folder) {
        const auto row = pending.find(file.unique);
        if (row == pending.end()) continue;
        auto size = m_maildir.SizeOf(file);
        if (size && *size >= row->second->size) continue;
        if (!size && size.Error().code != ErrorCode::kNotFound) return size.Error();
        if (size) m_sides.torn.insert(file.unique);
    }
    return {};
}

void MailLoader::See(const MailHead& head, bool isWithinLimits) {
    if (!m_seen.insert(head.id).second) return;
    EudoraHead seen{head.id, head.marker, m_source.MessageId(), {}, isWithinLimits, {}, {}};
    const auto known = m_byId.find(head.id);
    const bool isKnown =
        known != m_byId.end() && (!seen.messageId || *seen.messageId == known->second->messageId);
    if (!isKnown && isWithinLimits) seen.name = m_source.Name();
    m_sides.eudora.push_back(std::move(seen));
}

platform::Status MailLoader::WalkEudora(Reach reach) {
    std::size_t count = 0;
    return m_source.Walk(reach, [&](const MailHead& head) -> platform::Status {
        m_progress.Step("looking at mail", ++count);
        See(head, reach == Reach::kWithinLimits);
        return {};
    });
}

std::vector<const RememberedMail*> MailLoader::Unseen() const {
    std::vector<const RememberedMail*> unseen;
    for (const RememberedMail& row : m_remembered) {
        // Of a kept one it is known that the mail is gone; should it be back, it shows itself.
        if (row.link != MailLink::kKept && !m_seen.contains(row.id)) unseen.push_back(&row);
    }
    return unseen;
}

platform::Result<bool> MailLoader::SearchOneByOne(
    const std::vector<const RememberedMail*>& unseen) {
    for (const RememberedMail* row : unseen) {
        auto found = m_source.Find(row->id);
        if (!found) return found.Error();
        if (!*found) return false;
        See(**found, false);
    }
    return true;
}

// A mail that is not where it was may have another id now: only a walk over all mails tells.
platform::Status MailLoader::FindHidden() {
    if (!m_source.HasLimits()) return {};
    const auto unseen = Unseen();
    if (unseen.empty()) return {};
    if (unseen.size() <= kMostSearches) {
        auto allFound = SearchOneByOne(unseen);
        if (!allFound) return allFound.Error();
        if (*allFound) return {};
    }
    return WalkEudora(Reach::kAll);
}

platform::Result<Mail> MailLoader::ReadMail(const EudoraHead& head) {
    auto found = m_source.Find(head.id);
    if (!found) return found.Error();
    if (!*found) return platform::Failure{ErrorCode::kNotFound, head.id};
    return m_source.Read(MailParts::kWithoutAttachments);
}

// Mails without Message-ID that may be remembered ones under another id, or files that are there.
platform::Status MailLoader::ReadUnidentified(const MailMatching& matching) {
    bool isWanted = !m_foreign.empty();
    for (std::size_t i = 0; i < m_remembered.size() && !isWanted; ++i) {
        isWanted = matching.isGone[i] && m_remembered[i].messageId.empty();
    }
    if (!isWanted) return {};
    for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
        EudoraHead& head = m_sides.eudora[i];
        if (matching.rowOf[i] || IsPlainId(head.messageId.value_or(""))) continue;
        auto mail = ReadMail(head);
        if (!mail && mail.Error().code == ErrorCode::kNotFound) continue;
        if (!mail) return mail.Error();
        head.content = ContentOf(*mail);
        head.fileMessageId = MessageIdOf(*mail);
    }
    return {};
}

platform::Status MailLoader::ReadForeign(const MailMatching& matching) {
    bool hasNew = false;
    for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
        EudoraHead& head = m_sides.eudora[i];
        const std::string id = head.messageId.value_or("");
        if (IsPlainId(id)) head.fileMessageId = id;
        hasNew = hasNew || (!matching.rowOf[i] && head.isWithinLimits);
    }
    for (std::size_t i = 0; i < m_foreign.size() && hasNew; ++i) {
        m_progress.Step("reading the Maildir:", i, m_foreign.size());
        auto id = m_maildir.MessageIdOf(*m_foreign[i]);
        // What vanished or may not be read pairs with nothing.
        if (id && !id->empty()) m_sides.messageIds.emplace(m_foreign[i]->unique, *std::move(id));
    }
    return {};
}

platform::Result<MailSides> MailLoader::Load() {
    for (const RememberedMail& row : m_remembered) m_byId.emplace(row.id, &row);
    if (auto status = ListFolder(); !status) return status.Error();
    FindForeign();
    if (auto status = FindTorn(); !status) return status.Error();
    if (auto status = WalkEudora(Reach::kWithinLimits); !status) return status.Error();
    if (auto status = FindHidden(); !status) return status.Error();
    const MailMatching matching =
        MatchMails(m_sides.eudora, m_remembered, LostDeliveries(m_sides, m_remembered));
    if (auto status = ReadUnidentified(matching); !status) return status.Error();
    if (auto status = ReadForeign(matching); !status) return status.Error();
    return std::move(m_sides);
}

}  // namespace

platform::Result<MailSides> LoadMailSides(MailSource& source, Maildir& maildir,
                                          const std::vector<RememberedMail>& remembered,
                                          Progress& progress) {
    return MailLoader(source, maildir, remembered, progress).Load();
}

}  // namespace host
