#include "host/mailsync/load_mail.h"

#include <algorithm>

#include "host/base/out_of_memory.h"
#include "host/mail/encoded_words.h"
#include "host/mail/message_id.h"
#include "host/mail/parse.h"
#include "host/mailsync/mail_content.h"
#include "host/mailsync/mail_matching.h"
#include "text/mail_view.h"

namespace host::mailsync {

namespace {

using platform::ErrorCode;

// Whether a file in the Maildir has this Message-ID as it is.
bool IsPlainId(const std::string& id) {
    mail::Mail mail;
    mail.messageId = id;
    return !id.empty() && mail::MessageIdOf(mail) == id;
}

bool IsTrashed(const maildir::MaildirEntry& file) {
    return maildir::HasFlag(file.flags, 'T');
}

std::unordered_set<std::string> UniqueNames(const std::vector<maildir::MaildirEntry>& files) {
    std::unordered_set<std::string> names;
    for (const maildir::MaildirEntry& file : files) names.insert(file.unique);
    return names;
}

class MailLoader {
  public:
    MailLoader(mail::MailSource& source, MailFolders& folders,
               const std::vector<state::RememberedMail>& remembered, base::Progress& progress)
        : m_source(source), m_folders(folders), m_progress(progress) {
        for (const state::RememberedMail& row : remembered) {
            const bool isSending = row.link == state::MailLink::kSending;
            (isSending ? m_sides.sending : m_sides.remembered).push_back(row);
        }
    }

    base::Result<MailSides> Load();

  private:
    base::Status ListFolder();
    bool MissesFiles() const;
    base::Status SortFiles();
    static base::Result<FolderHead> HeadOf(maildir::Maildir& maildir,
                                           const maildir::MaildirEntry& file);
    bool IsRead(const base::Result<FolderHead>& head, const maildir::MaildirEntry& file);
    void ReadForeign();
    base::Status ListOutgoing();
    base::Status WalkEudora(mail::Reach reach);
    void See(const mail::MailHead& head, std::optional<std::string> messageId, bool isWithinLimits);
    void PassOver(const std::string& name, const base::Failure& fault);
    base::Status FindHidden();
    bool FindAgain(const state::RememberedMail& row);
    void ReadUnidentified(const MailMatching& matching);
    base::Result<mail::Mail> ReadMail(const EudoraHead& head);

    mail::MailSource& m_source;
    MailFolders& m_folders;
    base::Progress& m_progress;
    std::unordered_map<std::string, const state::RememberedMail*> m_byId;
    std::unordered_set<std::string> m_seen;
    MailSides m_sides;
    std::vector<const maildir::MaildirEntry*> m_foreign;  // nobody remembers them
};

bool MailLoader::MissesFiles() const {
    const auto present = UniqueNames(m_sides.folder);
    return std::ranges::any_of(m_sides.remembered, [&](const state::RememberedMail& row) {
        return row.link != state::MailLink::kDropped && !present.contains(row.unique);
    });
}

// A file that another program renames while the folder is read can be missed: one that is missing
// is looked for a second time.
base::Status MailLoader::ListFolder() {
    auto first = m_folders.mails.List();
    if (!first) return first.Error();
    m_sides.folder = *std::move(first);
    if (!MissesFiles()) return {};
    auto second = m_folders.mails.List();
    if (!second) return second.Error();
    const auto present = UniqueNames(*second);
    for (maildir::MaildirEntry& file : m_sides.folder) {
        if (!present.contains(file.unique)) second->push_back(std::move(file));
    }
    m_sides.folder = *std::move(second);
    return {};
}

// Which files nobody remembers, and of which a cut-off run delivered a part only.
base::Status MailLoader::SortFiles() {
    std::unordered_map<std::string_view, const state::RememberedMail*> rows;
    for (const state::RememberedMail& row : m_sides.remembered) rows.emplace(row.unique, &row);
    for (const maildir::MaildirEntry& file : m_sides.folder) {
        const auto row = rows.find(file.unique);
        if (row == rows.end()) m_foreign.push_back(&file);
        if (row == rows.end() || row->second->link != state::MailLink::kPending) continue;
        const auto size = m_folders.mails.SizeOf(file);
        if (!size && size.Error().code != ErrorCode::kNotFound) return size.Error();
        if (size && *size < row->second->size) m_sides.torn.insert(file.unique);
    }
    return {};
}

// A mail that cannot be read may be any that seems to be gone.
void MailLoader::PassOver(const std::string& name, const base::Failure& fault) {
    m_sides.unread.push_back(name.empty() ? fault.Message() : name + ": " + fault.Message());
    m_sides.mayMiss = true;
}

void MailLoader::See(const mail::MailHead& head, std::optional<std::string> messageId,
                     bool isWithinLimits) {
    if (!m_seen.insert(head.id).second) return;
    EudoraHead seen{head.id, head.marker, std::move(messageId), {}, isWithinLimits, {}, {}};
    if (IsPlainId(seen.messageId.value_or(""))) seen.fileMessageId = *seen.messageId;
    const auto known = m_byId.find(head.id);
    const bool isKnown =
        known != m_byId.end() && (!seen.messageId || *seen.messageId == known->second->messageId);
    if (isKnown) seen.name = known->second->name;
    if (head.marker.empty()) {
        PassOver(seen.name, m_source.Read(mail::MailParts::kHeader).Error());
    } else if (!isKnown && isWithinLimits) {
        seen.name = m_source.Name();
    }
    m_sides.eudora.push_back(std::move(seen));
}

base::Status MailLoader::WalkEudora(mail::Reach reach) {
    std::size_t count = 0;
    return m_source.Walk(reach, [&](const mail::MailHead& head) -> base::Result<bool> {
        m_progress.Step("looking at mail", ++count);
        See(head, m_source.MessageId(), reach == mail::Reach::kWithinLimits);
        return true;
    });
}

// Whether the mail is still there under its id; of one that was being added only the Message-ID is
// known.
bool MailLoader::FindAgain(const state::RememberedMail& row) {
    if (row.id.empty()) return false;
    const auto found = m_source.Find(row.id);
    if (!found || !*found) return false;
    See(**found, m_source.MessageId(), false);
    return true;
}

// A mail that is not where it was may have another id now, and a new file may be a mail that the
// limits hide: only a walk over all mails tells.
base::Status MailLoader::FindHidden() {
    if (!m_source.HasLimits()) return {};
    std::vector<const state::RememberedMail*> unseen;
    for (const state::RememberedMail& row : m_sides.remembered) {
        // Of a kept one it is known that the mail is gone; should it be back, it shows itself.
        if (row.link != state::MailLink::kKept && !m_seen.contains(row.id)) unseen.push_back(&row);
    }
    const bool areFew = m_sides.foreign.empty() && unseen.size() <= kMostSearches;
    const auto findAgain = [&](const auto* row) { return FindAgain(*row); };
    if (areFew && std::ranges::all_of(unseen, findAgain)) return {};
    return WalkEudora(mail::Reach::kAll);
}

base::Result<mail::Mail> MailLoader::ReadMail(const EudoraHead& head) {
    auto found = m_source.Find(head.id);
    if (!found) return found.Error();
    if (!*found) return platform::Failure{ErrorCode::kNotFound, head.id};
    return m_source.Read(mail::MailParts::kWithoutAttachments);
}

// Mails without Message-ID that may be remembered ones under another id, or files that are there.
void MailLoader::ReadUnidentified(const MailMatching& matching) {
    bool isWanted = !m_foreign.empty();
    for (std::size_t i = 0; i < m_sides.remembered.size() && !isWanted; ++i) {
        isWanted = matching.isGone[i] && m_sides.remembered[i].messageId.empty();
    }
    if (!isWanted) return;
    for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
        EudoraHead& head = m_sides.eudora[i];
        if (matching.rowOf[i] || head.marker.empty() || !head.fileMessageId.empty()) continue;
        auto mail = ReadMail(head);
        if (mail) {
            head.content = ContentOf(*mail);
            head.fileMessageId = mail::MessageIdOf(*mail);
        } else if (mail.Error().code != ErrorCode::kNotFound) {
            head.marker.clear();
            PassOver(head.name, mail.Error());
        }
    }
}

base::Result<FolderHead> MailLoader::HeadOf(maildir::Maildir& maildir,
                                            const maildir::MaildirEntry& file) {
    return base::OrOutOfMemory([&]() -> base::Result<FolderHead> {
        auto text = maildir.ReadHeader(file);
        if (!text) return text.Error();
        const text::MailView header(*text);
        FolderHead head{maildir::MessageIdInHeader(*text),
                        mail::MailName(mail::DecodeWords(header.Field("Subject").value_or("")),
                                       mail::DecodeWords(header.Field("From").value_or("")))};
        if (mail::CanBeMessageId(head.messageId) && !mail::IsIndexId(head.messageId)) return head;
        text = maildir.Read(file, mail::kLargestMessage);
        if (!text) return text.Error();
        head.messageId = mail::MessageIdForEudora(*text);
        return head;
    });
}

// What vanished is passed over, and what cannot be read is told.
bool MailLoader::IsRead(const base::Result<FolderHead>& head, const maildir::MaildirEntry& file) {
    if (!head && head.Error().code != ErrorCode::kNotFound) {
        m_sides.unread.push_back("the file " + file.name +
                                 " cannot be read: " + head.Error().Message());
    }
    return head.HasValue();
}

// Of drafts no more is wanted than whether one is a remembered file under another name.
void MailLoader::ReadForeign() {
    const bool missesFiles = MissesFiles();
    for (std::size_t i = 0; i < m_foreign.size(); ++i) {
        m_progress.Step("reading the Maildir:", i, m_foreign.size());
        const maildir::MaildirEntry& file = *m_foreign[i];
        if (maildir::HasFlag(file.flags, 'D') && !missesFiles) continue;
        auto head = HeadOf(m_folders.mails, file);
        if (IsRead(head, file)) m_sides.foreign.emplace(file.unique, *std::move(head));
    }
    // One of them may be a file that is missing, whose mail would be taken for a removed one.
    m_sides.mayMiss = missesFiles && !m_sides.unread.empty();
}

base::Status MailLoader::ListOutgoing() {
    auto files = m_folders.outbox.List();
    if (!files) return files.Error();
    std::ranges::sort(*files, {}, &maildir::MaildirEntry::unique);
    for (maildir::MaildirEntry& file : *files) {
        if (IsTrashed(file)) continue;
        auto head = HeadOf(m_folders.outbox, file);
        if (IsRead(head, file))
            m_sides.outgoing.push_back({std::move(file), std::move(head->name)});
    }
    return {};
}

base::Result<MailSides> MailLoader::Load() {
    for (const state::RememberedMail& row : m_sides.remembered) m_byId.emplace(row.id, &row);
    if (auto status = ListFolder(); !status) return status.Error();
    std::erase_if(m_sides.folder, IsTrashed);
    if (auto status = SortFiles(); !status) return status.Error();
    ReadForeign();
    if (auto status = ListOutgoing(); !status) return status.Error();
    if (auto status = WalkEudora(mail::Reach::kWithinLimits); !status) return status.Error();
    if (auto status = FindHidden(); !status) return status.Error();
    ReadUnidentified(MatchMails(m_sides));
    return std::move(m_sides);
}

}  // namespace

MailFolders::MailFolders(platform::Files& files, platform::Clock& clock, const std::string& maildir)
    : mails(files, clock, maildir),
      outbox(files, clock, maildir + files.Separator() + ".Outbox"),
      sent(files, clock, maildir + files.Separator() + ".Sent") {}

base::Result<MailSides> LoadMailSides(mail::MailSource& source, MailFolders& folders,
                                      const std::vector<state::RememberedMail>& remembered,
                                      base::Progress& progress) {
    return MailLoader(source, folders, remembered, progress).Load();
}

}  // namespace host::mailsync
