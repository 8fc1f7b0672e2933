#include "host/mailsync/load_mail.h"

#include <algorithm>
#include <vector>

#include "host/mail/encoded_words.h"
#include "host/mail/mail.h"
#include "host/mail/parse.h"
#include "host/mailsync/match_mails.h"
#include "host/mailsync/tell_apart.h"
#include "platform/os/code_page.h"
#include "text/mail_view.h"

namespace host::mailsync {

namespace {

using maildir::MaildirEntry;
using platform::ErrorCode;
using state::MailLink;
using state::RememberedMail;

bool IsTrashed(const MaildirEntry& file) {
    return maildir::HasFlag(file.flags, 'T');
}

class MailLoader {
  public:
    MailLoader(mail::MailSource& source, MailFolders& folders,
               const std::vector<RememberedMail>& remembered, unsigned codePage,
               base::Progress& progress)
        : m_source(source), m_folders(folders), m_codePage(codePage), m_progress(progress) {
        m_sides.largestAttachment = source.LargestAttachment();
        for (const RememberedMail& row : remembered) {
            const bool isSending = row.link == MailLink::kSending;
            (isSending ? m_sides.sending : m_sides.remembered).push_back(row);
        }
    }

    base::Result<MailSides> Load() {
        for (const RememberedMail& row : m_sides.remembered) m_byId.emplace(row.id, &row);
        auto status = ListFolder();
        if (status) status = SettleRenewals();
        std::erase_if(m_sides.folder, IsTrashed);
        if (status) status = SortFiles();
        if (status) ReadForeign();
        if (status) status = ListOutgoing();
        if (status) status = WalkEudora(mail::Reach::kWithinLimits);
        if (status) status = FindHidden();
        if (!status) return status.Error();
        ReadOfOneMessageId();
        const MailMatching matching = MatchMails(m_sides);
        ReadUnidentified(matching);
        ReadForFiles(matching);
        return std::move(m_sides);
    }

  private:
    bool MissesFiles() const {
        const auto present = UniqueNames(m_sides.folder);
        return std::ranges::any_of(m_sides.remembered, [&](const RememberedMail& row) {
            return row.link != MailLink::kDropped && !present.contains(row.unique);
        });
    }

    // A file that another program renames while the folder is read can be missed: one that is
    // missing is looked for a second time.
    base::Status ListFolder() {
        auto first = m_folders.mails.List();
        if (!first) return first.Error();
        m_sides.folder = *std::move(first);
        if (!MissesFiles()) return {};
        auto second = m_folders.mails.List();
        if (!second) return second.Error();
        const auto present = UniqueNames(*second);
        for (MaildirEntry& file : m_sides.folder) {
            if (!present.contains(file.unique)) second->push_back(std::move(file));
        }
        m_sides.folder = *std::move(second);
        return {};
    }

    // The size of a file; 0 for one that is gone or has given way to a folder.
    base::Result<std::uint64_t> SizeOf(const MaildirEntry& file) {
        if (file.isFolder) return std::uint64_t{0};
        auto size = m_folders.mails.SizeOf(file);
        if (!size && size.Error().code == ErrorCode::kNotFound) return std::uint64_t{0};
        return size;
    }

    // Takes a file out of the folder's list, if it is there.
    MaildirEntry TakeFile(const std::string& unique) {
        const auto found = std::ranges::find(m_sides.folder, unique, &MaildirEntry::unique);
        if (found == m_sides.folder.end()) return {};
        MaildirEntry file = std::move(*found);
        m_sides.folder.erase(found);
        return file;
    }

    // A run that was cut off while it composed files again left the old one, the new one or both:
    // the new one holds if it is whole.
    base::Status SettleRenewals() {
        for (RememberedMail& row : m_sides.remembered) {
            if (row.link != MailLink::kRenewing) continue;
            const auto end = std::min(row.content.rfind('\n'), row.content.size());
            Leftover old, fresh;
            old.unique = row.content.substr(std::min(end + 1, row.content.size()));
            fresh.unique = row.unique;
            row.content.resize(end);
            old.file = TakeFile(old.unique);
            fresh.file = TakeFile(fresh.unique);
            const auto size = fresh.file.name.empty() ? std::uint64_t{0} : SizeOf(fresh.file);
            if (!size) return size.Error();
            const bool isWhole = *size > 0 && *size >= row.size;
            if (!isWhole) {
                std::swap(old, fresh);
                row.unique = fresh.unique;
                const auto before = fresh.file.name.empty() ? size : SizeOf(fresh.file);
                if (!before) return before.Error();
                row.size = std::max<std::uint64_t>(*before, 1);
                row.lack = state::MailLack::kTexts;
            }
            if (!fresh.file.name.empty()) m_sides.folder.push_back(std::move(fresh.file));
            m_sides.leftovers.push_back(std::move(old));
        }
        return {};
    }

    // Finds files that are not remembered, those that an interrupted run delivered in part, and
    // among those to be composed again the ones that somebody edited.
    base::Status SortFiles() {
        std::unordered_map<std::string_view, const RememberedMail*> rows;
        for (const RememberedMail& row : m_sides.remembered) rows.emplace(row.unique, &row);
        for (const MaildirEntry& file : m_sides.folder) {
            const auto found = rows.find(file.unique);
            if (found == rows.end()) {
                if (!file.isFolder) m_foreign.push_back(&file);
                continue;
            }
            const RememberedMail& row = *found->second;
            const bool isPending = row.link == MailLink::kPending;
            if (!isPending && row.lack == state::MailLack::kNothing) continue;
            const auto size = SizeOf(file);
            if (!size) return size.Error();
            if (isPending && *size < row.size) m_sides.torn.insert(file.unique);
            if (*size != row.size) m_sides.edited.insert(file.unique);
        }
        return {};
    }

    // A mail that cannot be read may be any that seems to be gone.
    void PassOver(const std::string& name, const base::Failure& fault) {
        m_sides.unread.push_back(name.empty() ? fault.Message() : name + ": " + fault.Message());
        m_sides.mayMiss = true;
    }

    void See(const mail::MailHead& head, std::optional<std::string> messageId,
             bool isWithinLimits) {
        if (!m_seen.insert(head.id).second) return;
        EudoraHead seen{head.id, head.marker, std::move(messageId), {}, isWithinLimits};
        if (mail::CanKeepMessageId(seen.messageId.value_or("")))
            seen.fileMessageId = *seen.messageId;
        const auto known = m_byId.find(head.id);
        const bool isKnown = known != m_byId.end() &&
                             (!seen.messageId || *seen.messageId == known->second->messageId);
        if (isKnown) {
            seen.name = known->second->name;
            m_knownAgain.insert(head.id);
        }
        if (head.marker.empty()) {
            PassOver(seen.name, m_source.Read(mail::MailParts::kHeader).Error());
        } else if (!isKnown) {
            seen.name = m_source.Name();
        }
        m_sides.eudora.push_back(std::move(seen));
    }

    base::Status WalkEudora(mail::Reach reach) {
        std::size_t count = 0;
        return m_source.Walk(reach, [&](const mail::MailHead& head) -> base::Result<bool> {
            m_progress.Step("looking at mail", ++count);
            See(head, m_source.MessageId(), reach == mail::Reach::kWithinLimits);
            return true;
        });
    }

    // Whether the mail is still there under its id; of one that was being added only the Message-ID
    // is known.
    bool FindAgain(const RememberedMail& row) {
        if (row.id.empty()) return false;
        const auto found = m_source.Find(row.id);
        if (!found || !*found) return false;
        See(**found, m_source.MessageId(), false);
        return m_knownAgain.contains(row.id);
    }

    // A mail that is not where it was may have another id now, and a new file may be a mail that
    // the limits hide: only a walk over all mails tells.
    base::Status FindHidden() {
        if (!m_source.HasLimits()) return {};
        std::vector<const RememberedMail*> unseen;
        for (const RememberedMail& row : m_sides.remembered) {
            // The mail of a kept file is gone from Eudora; if it came back, the walk shows it.
            if (row.link != MailLink::kKept && !m_knownAgain.contains(row.id))
                unseen.push_back(&row);
        }
        const bool areFew = m_sides.foreign.empty() && unseen.size() <= kMostSearches;
        const auto findAgain = [&](const auto* row) { return FindAgain(*row); };
        if (areFew && std::ranges::all_of(unseen, findAgain)) return {};
        return WalkEudora(mail::Reach::kAll);
    }

    base::Result<mail::Mail> ReadMail(const EudoraHead& head) {
        auto found = m_source.Find(head.id);
        if (!found) return found.Error();
        if (!*found) return platform::Failure{ErrorCode::kNotFound, head.id};
        return m_source.Read(mail::MailParts::kWithoutAttachments);
    }

    // Reads what tells a mail from others. What cannot be read stays unknown.
    void ReadTraits(EudoraHead& head) {
        if (!head.text.empty()) return;
        const auto mail = ReadMail(head);
        if (!mail) return;
        head.name = mail::MailName(mail->subject.value_or(""), mail->from.value_or(""));
        head.content = ContentOf(*mail);
        head.people = PeopleTrait(mail->to.value_or("") + ' ' + mail->cc.value_or(""));
        head.text = TextTrait(mail->body.value_or(""));
    }

    void ReadTraits(const MaildirEntry& file) {
        FolderHead& head = m_sides.foreign.at(file.unique);
        const auto mail = Parse(m_folders.mails, file, head.name);
        if (!mail) return;
        head.people =
            PeopleTrait(mail::StoredRecipients(mail->to) + ' ' + mail::StoredRecipients(mail->cc));
        head.text = TextTrait(platform::ToUtf8(mail->body, m_codePage));
    }

    // Without its attachments.
    base::Result<mail::NewMail> Parse(maildir::Maildir& maildir, const MaildirEntry& file,
                                      const std::string& name) {
        return base::OrOutOfMemory([&]() -> base::Result<mail::NewMail> {
            auto text = maildir.Read(file, mail::kLargestMessage);
            if (!text) return text.Error();
            return mail::ParseMail(*text, {m_folders.files, {}, m_codePage, m_folders.clock}, name);
        });
    }

    // Several mails of one Message-ID: a mail that is not where it was is a sign that the mailbox
    // was numbered anew, and then each of them may be any.
    void ReadOfOneMessageId() {
        struct Group {
            const RememberedMail* row = nullptr;
            int rows = 0, mails = 0;
        };
        std::unordered_map<std::string_view, Group> groups;
        bool isNumberedAnew = false;
        for (const RememberedMail& row : m_sides.remembered) {
            Group& group = groups[row.messageId];
            group.row = &row;
            ++group.rows;
            isNumberedAnew =
                isNumberedAnew || (row.link != MailLink::kKept && !m_knownAgain.contains(row.id));
        }
        if (!isNumberedAnew) return;
        for (const EudoraHead& head : m_sides.eudora) {
            if (head.messageId) ++groups[*head.messageId].mails;
        }
        for (EudoraHead& head : m_sides.eudora) {
            if (!head.messageId || head.messageId->empty()) continue;
            const Group& group = groups[*head.messageId];
            if (group.rows == 0) continue;
            const bool areSeveral = std::max(group.rows, group.mails) > 1;
            if (areSeveral) m_sides.doubtful.insert(*head.messageId);
            const bool isKnown = m_knownAgain.contains(head.id);
            if (areSeveral || (!isKnown && NameTrait(head.name) != NameTrait(group.row->name))) {
                ReadTraits(head);
            }
        }
    }

    // Files and mails of one Message-ID whose counterparts are not known, if there are several of
    // them on one side.
    void ReadForFiles(const MailMatching& matching) {
        struct Group {
            std::vector<EudoraHead*> heads;
            std::vector<const MaildirEntry*> files;
            std::size_t mails = 0;
            std::string name;  // of the last mail
        };
        std::unordered_map<std::string, Group> groups;
        for (const MaildirEntry* file : m_foreign) {
            const auto head = m_sides.foreign.find(file->unique);
            if (head != m_sides.foreign.end()) groups[head->second.messageId].files.push_back(file);
        }
        const auto present = UniqueNames(m_sides.folder);
        const auto isMissing = [&](const RememberedMail& row) {
            return !present.contains(row.unique);
        };
        const auto add = [&](const std::string& id, const std::string& name, EudoraHead* head) {
            const auto group = groups.find(id);
            if (id.empty() || group == groups.end()) return;
            ++group->second.mails;
            group->second.name = name;
            if (head != nullptr) group->second.heads.push_back(head);
        };
        std::vector<bool> isHere(m_sides.remembered.size());
        for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
            EudoraHead& head = m_sides.eudora[i];
            const auto at = matching.rowOf[i];
            if (at) isHere[*at] = true;
            if (!at) add(head.fileMessageId, head.name, &head);
            if (at && isMissing(m_sides.remembered[*at]))
                add(FileMessageIdOf(m_sides.remembered[*at]), head.name, &head);
        }
        for (std::size_t i = 0; i < m_sides.remembered.size(); ++i) {
            const RememberedMail& row = m_sides.remembered[i];
            if (!isHere[i] && isMissing(row)) add(FileMessageIdOf(row), row.name, nullptr);
        }
        for (auto& one : groups) {
            auto& group = one.second;
            const bool isPair = group.mails == 1 && group.files.size() == 1;
            const auto isAlike = [&](const MaildirEntry& file) {
                return NameTrait(group.name) == NameTrait(m_sides.foreign.at(file.unique).name);
            };
            if (group.mails == 0 || (isPair && isAlike(*group.files[0]))) continue;
            for (EudoraHead* head : group.heads) ReadTraits(*head);
            for (const MaildirEntry* file : group.files) ReadTraits(*file);
        }
    }

    // Mails without Message-ID that may be remembered ones under another id, or files that are
    // there.
    void ReadUnidentified(const MailMatching& matching) {
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

    static base::Result<FolderHead> HeadOf(maildir::Maildir& maildir, const MaildirEntry& file) {
        return base::OrOutOfMemory([&]() -> base::Result<FolderHead> {
            auto text = maildir.ReadHeader(file);
            if (!text) return text.Error();
            const text::MailView header(*text);
            const auto size = maildir.SizeOf(file);
            if (!size) return size.Error();
            FolderHead head{maildir::MessageIdInHeader(*text),
                            mail::MailName(mail::DecodeWords(header.Field("Subject").value_or("")),
                                           mail::DecodeWords(header.Field("From").value_or(""))),
                            *size};
            if (mail::CanKeepMessageId(head.messageId)) return head;
            text = maildir.Read(file, mail::kLargestMessage);
            if (!text) return text.Error();
            head.messageId = mail::MessageIdForEudora(*text);
            return head;
        });
    }

    // Whether the file was read. A failure is reported, unless the file is gone.
    bool IsRead(const base::Result<FolderHead>& head, const MaildirEntry& file) {
        if (!head && head.Error().code != ErrorCode::kNotFound) {
            m_sides.unread.push_back("the file " + file.name +
                                     " cannot be read: " + head.Error().Message());
        }
        return head.HasValue();
    }

    // What a full disk leaves of a mail is none.
    bool IsEmpty(const FolderHead& head, std::string folder, const MaildirEntry& file) {
        folder += file.isNew ? "new/" : "cur/";
        if (head.size == 0) m_sides.leftAlone.push_back(folder + file.name + ": is empty");
        return head.size == 0;
    }

    // Reads files that are not remembered; drafts only if one may be a missing file under a new
    // name.
    void ReadForeign() {
        const bool missesFiles = MissesFiles();
        for (std::size_t i = 0; i < m_foreign.size(); ++i) {
            m_progress.Step("reading the Maildir:", i, m_foreign.size());
            const MaildirEntry& file = *m_foreign[i];
            if (maildir::HasFlag(file.flags, 'D') && !missesFiles) continue;
            auto head = HeadOf(m_folders.mails, file);
            if (!IsRead(head, file) || IsEmpty(*head, {}, file)) continue;
            m_sides.foreign.emplace(file.unique, *std::move(head));
        }
        // One of them may be a file that is missing, whose mail would be taken for a removed one.
        m_sides.mayMiss = missesFiles && !m_sides.unread.empty();
    }

    base::Status ListOutgoing() {
        auto files = m_folders.outbox.List();
        if (!files) return files.Error();
        std::ranges::sort(*files, {}, &MaildirEntry::unique);
        for (MaildirEntry& file : *files) {
            if (file.isFolder || IsTrashed(file)) continue;
            auto head = HeadOf(m_folders.outbox, file);
            if (!IsRead(head, file) || IsEmpty(*head, ".Outbox/", file)) continue;
            const auto mail = Parse(m_folders.outbox, file, head->name);
            m_sides.outgoing.push_back({std::move(file), std::move(head->name),
                                        mail ? mail->lostCharacters : std::size_t{0}});
        }
        return {};
    }

    mail::MailSource& m_source;
    MailFolders& m_folders;
    unsigned m_codePage;
    base::Progress& m_progress;
    std::unordered_map<std::string, const RememberedMail*> m_byId;
    std::unordered_set<std::string> m_seen;        // ids
    std::unordered_set<std::string> m_knownAgain;  // those under which a remembered mail is there
    MailSides m_sides;
    std::vector<const MaildirEntry*> m_foreign;  // nobody remembers them
};

}  // namespace

MailFolders::MailFolders(platform::Files& at, platform::Clock& by, const std::string& maildir)
    : files(at),
      clock(by),
      mails(at, by, maildir),
      outbox(at, by, maildir + at.Separator() + ".Outbox"),
      sent(at, by, maildir + at.Separator() + ".Sent") {}

base::Result<MailSides> LoadMailSides(mail::MailSource& source, MailFolders& folders,
                                      const std::vector<RememberedMail>& remembered,
                                      unsigned codePage, base::Progress& progress) {
    return MailLoader(source, folders, remembered, codePage, progress).Load();
}

}  // namespace host::mailsync
