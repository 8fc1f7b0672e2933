#include <algorithm>

#include "host/maildir/maildir_name.h"
#include "host/mailsync/mail_matching.h"
#include "host/mailsync/mail_plan.h"

namespace host {

namespace {

constexpr char kSeenFlag = 'S';

// A file that the person marked so is no mere copy of Eudora's mail.
bool IsMarked(const MaildirEntry& file) {
    return HasFlag(file.flags, 'F') || HasFlag(file.flags, 'D');
}

class MailPlanner {
  public:
    MailPlanner(const MailSides& sides, const std::vector<RememberedMail>& remembered,
                const MailPlanOptions& options)
        : m_sides(sides), m_remembered(remembered), m_options(options) {}

    MailPlan Make();

  private:
    void FindFiles();
    void CountFiles(const std::vector<bool>& lost);
    void PlanKnown(const EudoraHead& head, const RememberedMail& row);
    void PlanFlags(const EudoraHead& head, RememberedMail row, const MaildirEntry& file);
    void PlanNew(const EudoraHead& head);
    void PlanPair(const EudoraHead& head, const MaildirEntry& file);
    void PlanGone(const RememberedMail& row);
    void CheckLimits();
    const MaildirEntry* FileOf(const RememberedMail& row) const;
    const MaildirEntry* TakeForeign(const EudoraHead& head);
    void Add(MailAct act, RememberedMail row, const MaildirEntry* file = nullptr);

    const MailSides& m_sides;
    const std::vector<RememberedMail>& m_remembered;
    const MailPlanOptions& m_options;
    std::unordered_map<std::string_view, const MaildirEntry*> m_files;
    std::unordered_map<std::string, std::vector<const MaildirEntry*>> m_foreign;
    std::size_t m_inStep = 0, m_inFolder = 0;
    MailPlan m_plan;
};

void MailPlanner::Add(MailAct act, RememberedMail row, const MaildirEntry* file) {
    m_plan.steps.push_back({act, std::move(row), file != nullptr ? *file : MaildirEntry{}});
}

const MaildirEntry* MailPlanner::FileOf(const RememberedMail& row) const {
    const auto found = m_files.find(row.unique);
    return found != m_files.end() ? found->second : nullptr;
}

// The files by name, and those that nobody remembers by what they say they are.
void MailPlanner::FindFiles() {
    for (const MaildirEntry& file : m_sides.folder) m_files.emplace(file.unique, &file);
    std::unordered_set<std::string_view> remembered;
    for (const RememberedMail& row : m_remembered) remembered.insert(row.unique);
    for (const MaildirEntry& file : m_sides.folder) {
        if (remembered.contains(file.unique)) continue;
        ++m_plan.foreign;
        const auto id = m_sides.messageIds.find(file.unique);
        if (id != m_sides.messageIds.end() && !id->second.empty()) {
            m_foreign[id->second].push_back(&file);
        }
    }
    // They are taken from the end.
    for (auto& [id, files] : m_foreign) std::ranges::reverse(files);
}

void MailPlanner::CountFiles(const std::vector<bool>& lost) {
    for (std::size_t i = 0; i < m_remembered.size(); ++i) {
        const RememberedMail& row = m_remembered[i];
        const MaildirEntry* const file = FileOf(row);
        if (lost[i]) Add(MailAct::kRedo, row, file);
        if (row.link == MailLink::kDropped || row.link == MailLink::kKept || lost[i]) continue;
        ++m_inStep;
        m_inFolder += file != nullptr;
    }
}

// The row is as it was in memory, but for Eudora's id.
void MailPlanner::PlanFlags(const EudoraHead& head, RememberedMail row, const MaildirEntry& file) {
    const bool now = IsSeen(head.marker), before = IsSeen(row.marker);
    const bool inFolder = HasFlag(file.flags, kSeenFlag);
    const bool hasNews = row.link != MailLink::kInStep || row.marker != head.marker;
    row.link = MailLink::kInStep;
    row.marker = head.marker;
    // Only Eudora changed it: with two values for it, a change on both sides is the same change.
    if (now != before && inFolder != now) {
        row.flags = WithFlag(file.flags, kSeenFlag, now);
        return Add(MailAct::kSetFlags, std::move(row), &file);
    }
    m_plan.readInFolder += inFolder != now;
    // What only the folder changed stays unlike what is remembered.
    if (inFolder == now) row.flags = file.flags;
    if (hasNews) Add(MailAct::kRemember, std::move(row));
}

void MailPlanner::PlanKnown(const EudoraHead& head, const RememberedMail& known) {
    RememberedMail row = known;
    row.id = head.id;
    if (const MaildirEntry* const file = FileOf(row); file != nullptr) {
        // What came back, or has another id now, is remembered anew.
        if (row.link == MailLink::kInStep && row.id != known.id) row.link = MailLink::kPending;
        return PlanFlags(head, std::move(row), *file);
    }
    const bool isNews = row.link != MailLink::kDropped;
    m_plan.removedInFolder += isNews;
    ++m_plan.dropped;
    row.link = MailLink::kDropped;
    if (isNews || row.id != known.id) Add(MailAct::kRemember, std::move(row));
}

// A file of the same Message-ID that nobody remembers; each is given out once.
const MaildirEntry* MailPlanner::TakeForeign(const EudoraHead& head) {
    const auto found = m_foreign.find(head.fileMessageId);
    if (found == m_foreign.end() || found->second.empty()) return nullptr;
    const MaildirEntry* const file = found->second.back();
    found->second.pop_back();
    --m_plan.foreign;
    return file;
}

// Both were there before anything was remembered: nobody knows who changed the read state.
void MailPlanner::PlanPair(const EudoraHead& head, const MaildirEntry& file) {
    const bool now = IsSeen(head.marker);
    RememberedMail row{0,
                       MailLink::kInStep,
                       head.id,
                       head.marker,
                       head.messageId.value_or(""),
                       file.unique,
                       WithFlag(file.flags, kSeenFlag, now),
                       0,
                       head.content,
                       head.name};
    const bool eudoraWins = m_options.prefer == Prefer::kEudora;
    const bool folderWins = m_options.prefer == Prefer::kFolder;
    const bool differs = HasFlag(file.flags, kSeenFlag) != now;
    // Without a preference a mail that was read anywhere is read.
    if (differs && (eudoraWins || (!folderWins && now))) {
        return Add(MailAct::kSetFlags, std::move(row), &file);
    }
    m_plan.readInFolder += differs;
    Add(MailAct::kRemember, std::move(row));
}

void MailPlanner::PlanNew(const EudoraHead& head) {
    if (!head.isWithinLimits) {
        ++m_plan.hidden;
        return;
    }
    if (const MaildirEntry* const file = TakeForeign(head)) return PlanPair(head, *file);
    RememberedMail row;
    row.link = MailLink::kPending;
    row.id = head.id;
    row.marker = head.marker;
    row.messageId = head.messageId.value_or("");
    row.flags = IsSeen(head.marker) ? std::string(1, kSeenFlag) : std::string();
    row.name = head.name;
    Add(MailAct::kCompose, std::move(row));
}

void MailPlanner::PlanGone(const RememberedMail& row) {
    const MaildirEntry* const file = FileOf(row);
    if (file == nullptr) return Add(MailAct::kForget, row);
    if (!IsMarked(*file)) return Add(MailAct::kRemove, row, file);
    ++m_plan.kept;
    if (row.link == MailLink::kKept) return;
    RememberedMail kept = row;
    kept.link = MailLink::kKept;
    Add(MailAct::kRemember, std::move(kept));
}

void MailPlanner::CheckLimits() {
    const auto removals = static_cast<unsigned long>(m_plan.Count(MailAct::kRemove));
    const auto drops = static_cast<unsigned long>(m_plan.removedInFolder);
    const unsigned long allowed = DeletionsAllowed(m_inStep, m_options.maxDelete);
    const bool isEmpty = m_inStep > 0 && (m_sides.eudora.empty() || m_inFolder == 0);
    if (isEmpty && !(m_options.maxDelete && removals + drops <= allowed)) {
        const char* side =
            m_sides.eudora.empty() ? "Eudora's in-box is empty" : "the Maildir holds none of them";
        m_plan.stop = std::to_string(m_inStep) + " mails are remembered, but " + side +
                      ": check the paths; if that is meant, say so with --max-delete " +
                      std::to_string(std::max<unsigned long>(removals + drops, 1));
    } else if (removals + drops > allowed) {
        m_plan.stop = (removals > 0 ? std::to_string(removals) + " mails would be removed"
                                    : std::to_string(drops) + " mails are gone from the Maildir") +
                      ", more than the " + std::to_string(allowed) +
                      " allowed: check both sides, then allow it with --max-delete " +
                      std::to_string(removals + drops);
    }
}

MailPlan MailPlanner::Make() {
    FindFiles();
    const std::vector<bool> lost = LostDeliveries(m_sides, m_remembered);
    CountFiles(lost);
    const MailMatching matching = MatchMails(m_sides.eudora, m_remembered, lost);
    for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
        const auto row = matching.rowOf[i];
        row ? PlanKnown(m_sides.eudora[i], m_remembered[*row]) : PlanNew(m_sides.eudora[i]);
    }
    for (std::size_t i = 0; i < m_remembered.size(); ++i) {
        if (matching.isGone[i]) PlanGone(m_remembered[i]);
    }
    CheckLimits();
    return std::move(m_plan);
}

}  // namespace

MailPlan PlanMail(const MailSides& sides, const std::vector<RememberedMail>& remembered,
                  const MailPlanOptions& options) {
    return MailPlanner(sides, remembered, options).Make();
}

}  // namespace host
