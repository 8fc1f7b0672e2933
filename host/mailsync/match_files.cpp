#include "host/mailsync/match_files.h"

#include <optional>

#include "host/mailsync/tell_apart.h"

namespace host::mailsync {

namespace {

using maildir::MaildirEntry;
using state::RememberedMail;

// A remembered mail whose file is not there under its name, or a mail of Eudora's that is not
// remembered: a file that nobody remembers may be its own.
struct Fileless {
    std::optional<std::size_t> row, head;
};

class FileMatcher {
  public:
    FileMatcher(const MailSides& sides, const MailMatching& mails) : m_sides(sides) {
        m_matching.fileOfRow.resize(sides.remembered.size());
        m_matching.fileOfHead.resize(sides.eudora.size());
        m_matching.isUnclearRow = mails.isUnclearRow;
        m_matching.isUnclearHead = mails.isUnclearHead;
    }

    FileMatching Match(const MailMatching& mails) {
        FindFiles();
        const auto fileless = FilelessMails(mails);
        for (const auto& [id, files] : m_foreign) {
            const auto found = fileless.find(id);
            if (found != fileless.end()) TellFilesApart(found->second, files);
        }
        return std::move(m_matching);
    }

  private:
    // The files by name, and those that nobody remembers by what they say they are.
    void FindFiles() {
        std::unordered_map<std::string_view, const MaildirEntry*> files;
        for (const MaildirEntry& file : m_sides.folder) files.emplace(file.unique, &file);
        for (std::size_t i = 0; i < m_sides.remembered.size(); ++i) {
            const std::string& unique = m_sides.remembered[i].unique;
            m_matching.taken.insert(unique);
            const auto found = files.find(unique);
            if (found != files.end()) m_matching.fileOfRow[i] = found->second;
        }
        for (const MaildirEntry& file : m_sides.folder) {
            const auto head = m_sides.foreign.find(file.unique);
            if (m_matching.taken.contains(file.unique) || head == m_sides.foreign.end()) continue;
            m_foreign[head->second.messageId].push_back(&file);
        }
    }

    // By the Message-ID that the file would have.
    std::unordered_map<std::string, std::vector<Fileless>> FilelessMails(
        const MailMatching& mails) {
        std::unordered_map<std::string, std::vector<Fileless>> byId;
        std::vector<std::optional<std::size_t>> headOf(m_sides.remembered.size());
        for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
            if (mails.rowOf[i]) headOf[*mails.rowOf[i]] = i;
            if (mails.isUnclearHead[i]) ++m_matching.leftAlone[m_sides.eudora[i].name];
        }
        for (std::size_t i = 0; i < m_sides.remembered.size(); ++i) {
            if (mails.isLost[i] || m_matching.fileOfRow[i] != nullptr) continue;
            byId[FileMessageIdOf(m_sides.remembered[i])].push_back({i, headOf[i]});
        }
        for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
            if (!mails.rowOf[i]) byId[m_sides.eudora[i].fileMessageId].push_back({{}, i});
        }
        return byId;
    }

    Traits TraitsOf(const Fileless& mail) const {
        const EudoraHead* const head = mail.head ? &m_sides.eudora[*mail.head] : nullptr;
        const RememberedMail* const row = mail.row ? &m_sides.remembered[*mail.row] : nullptr;
        const bool hasName = head != nullptr && !head->name.empty();
        const std::string& marker = head != nullptr ? head->marker : row->marker;
        return {NameTrait(hasName || row == nullptr ? head->name : row->name),
                head != nullptr ? head->people : std::string(),
                head != nullptr ? head->text : std::string(),
                {FlagsOf(marker)}};
    }
    Traits TraitsOf(const MaildirEntry* file) const {
        const FolderHead& head = m_sides.foreign.at(file->unique);
        return {NameTrait(head.name), head.people, head.text, {IsSeen(*file) ? "S" : ""}};
    }
    template <class Items>
    std::vector<Traits> AllTraits(const Items& items) const {
        std::vector<Traits> all;
        all.reserve(items.size());
        for (const auto& item : items) all.push_back(TraitsOf(item));
        return all;
    }

    void TellFilesApart(const std::vector<Fileless>& mails,
                        const std::vector<const MaildirEntry*>& files) {
        const Telling telling = TellApart(AllTraits(mails), AllTraits(files));
        for (std::size_t i = 0; i < mails.size(); ++i) {
            const auto& [row, head] = mails[i];
            if (telling.rightOf[i]) {
                const MaildirEntry* const file = files[*telling.rightOf[i]];
                m_matching.taken.insert(file->unique);
                (row ? m_matching.fileOfRow[*row] : m_matching.fileOfHead[*head]) = file;
            } else if (telling.isUnclearLeft[i] && row) {
                LeaveAlone(m_matching.isUnclearRow, *row, m_sides.remembered[*row].name);
            } else if (telling.isUnclearLeft[i]) {
                LeaveAlone(m_matching.isUnclearHead, *head, m_sides.eudora[*head].name);
            }
        }
        for (std::size_t i = 0; i < files.size(); ++i) {
            if (!telling.isUnclearRight[i]) continue;
            m_matching.taken.insert(files[i]->unique);
            ++m_matching.leftAlone[m_sides.foreign.at(files[i]->unique).name];
        }
    }
    // Counts each but once.
    void LeaveAlone(std::vector<bool>& isUnclear, std::size_t at, const std::string& name) {
        if (!isUnclear[at]) ++m_matching.leftAlone[name];
        isUnclear[at] = true;
    }

    const MailSides& m_sides;
    // By Message-ID: the files that nobody remembers.
    std::unordered_map<std::string, std::vector<const MaildirEntry*>> m_foreign;
    FileMatching m_matching;
};

}  // namespace

FileMatching MatchFiles(const MailSides& sides, const MailMatching& mails) {
    return FileMatcher(sides, mails).Match(mails);
}

}  // namespace host::mailsync
