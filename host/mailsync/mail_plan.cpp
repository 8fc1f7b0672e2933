#include "host/mailsync/mail_plan.h"

#include <algorithm>

#include "host/mailsync/match_files.h"
#include "host/mailsync/match_mails.h"
#include "text/ascii.h"

namespace host::mailsync {

namespace {

using maildir::MaildirEntry;
using state::MailLink;
using state::RememberedMail;
using sync::Prefer;
using enum sync::Side;
using enum sync::Verb;

// Whether the person marked the file, which then is more than a copy of Eudora's mail.
bool IsMarked(const MaildirEntry& file) {
    return maildir::HasFlag(file.flags, 'F') || maildir::HasFlag(file.flags, 'D');
}

// Whether the mail was read when both sides were last in step. One that a run which was cut off
// added stands read in Eudora until its state is stored: the file's flag counts.
bool WasSeen(const RememberedMail& row, bool isSeenNow) {
    return IsSeen(row.marker) || (row.link == MailLink::kAdding && isSeenNow);
}

// How many mails the same run was to queue before this one; none in a memory of an earlier version.
std::uint64_t HandedOverBefore(const RememberedMail& row) {
    return text::NumberIn<std::uint64_t>(row.marker).value_or(0);
}

// A new row for a mail of Eudora's.
RememberedMail RowOf(const EudoraHead& head, MailLink link) {
    RememberedMail row;
    row.link = link;
    row.id = head.id;
    row.marker = head.marker;
    row.messageId = head.messageId.value_or("");
    row.flags = FlagsOf(head.marker);
    row.name = head.name;
    row.fileId = head.fileMessageId;
    return row;
}

class MailPlanner {
  public:
    MailPlanner(const MailSides& sides, const sync::Options& options)
        : m_sides(sides),
          m_remembered(sides.remembered),
          m_options(options),
          m_mails(MatchMails(sides)),
          m_files(MatchFiles(sides, m_mails)) {}

    MailPlan Make() {
        FollowFiles();
        for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
            const auto row = m_mails.rowOf[i];
            if (m_files.isUnclearHead[i] || (row && IsLeftAlone(*row))) continue;
            row ? PlanKnown(m_sides.eudora[i], *row) : PlanNew(i);
        }
        for (std::size_t i = 0; i < m_remembered.size(); ++i) {
            if (m_mails.isGone[i] && !IsLeftAlone(i)) PlanGone(i);
        }
        PlanNewFiles();
        PlanOutgoing();
        for (const Leftover& leftover : m_sides.leftovers) {
            RememberedMail row;
            row.unique = leftover.unique;
            Add(kMemory, kRedo, std::move(row), &leftover.file);
        }
        TellWhatIsLeftAlone();
        for (const MailStep& step : m_plan.steps) {
            if (auto change = Told(step)) m_plan.report.changes.push_back(*std::move(change));
        }
        if (m_options.resolve) {
            CheckResolved();
        } else {
            CheckLimits();
        }
        m_plan.report.errors = m_sides.unread;
        return std::move(m_plan);
    }

  private:
    // Whether a step may be done that settles no conflict.
    bool MayDo(const sync::Act& act) const { return !m_options.resolve && IsOnTheWay(act); }
    // Whether the direction lets a step be done. Leftovers lie in the folder.
    bool IsOnTheWay(const sync::Act& act) const {
        const bool isOnFolder = act.side == kFolder || act == sync::Act{kMemory, kRedo};
        switch (m_options.direction) {
            case sync::Direction::kPull:
                return act.side != kEudora && act.verb != kFile;
            case sync::Direction::kPush:
                return !isOnFolder || act.verb == kFile;
            default:
                return true;
        }
    }

    void Add(sync::Side side, sync::Verb verb, RememberedMail row,
             const MaildirEntry* file = nullptr) {
        const bool settles = std::exchange(m_settlesConflict, false);
        if (m_options.resolve && !settles) return;
        if (!IsOnTheWay({side, verb})) {
            if (settles) m_plan.report.stop = sync::LeftByDirection(m_options.resolve->name);
            return;
        }
        m_plan.steps.push_back(
            {{side, verb}, std::move(row), file != nullptr ? *file : MaildirEntry{}});
    }

    // Whether nothing is done about a remembered mail. Of a file that is half replaced all waits
    // for a run that may change the folder.
    bool IsLeftAlone(std::size_t row) const {
        const bool isHalf = m_remembered[row].link == MailLink::kRenewing;
        return m_files.isUnclearRow[row] || (isHalf && !MayDo({kMemory, kRedo}));
    }

    void TellWhatIsLeftAlone() {
        m_plan.report.leftAlone = m_sides.leftAlone;
        for (const auto& [name, count] : m_files.leftAlone) {
            m_plan.report.leftAlone.push_back(
                name + ": " + std::to_string(count) +
                " mails and files of one Message-ID, of which nobody can tell which is which; "
                "remove by hand what is too many");
        }
    }

    // Forgets lost deliveries, and counts the mails that are in step.
    void FollowFiles() {
        for (std::size_t i = 0; i < m_remembered.size(); ++i) {
            const RememberedMail& row = m_remembered[i];
            const MaildirEntry* const file = m_files.fileOfRow[i];
            if (m_mails.isLost[i]) {
                Add(kMemory, kRedo, row, file);
            } else if (IsSettled(row)) {
                ++m_inStep;
                m_inFolder += file != nullptr;
            }
        }
    }

    // Whether both sides had the mail.
    static bool IsSettled(const RememberedMail& row) {
        return row.link == MailLink::kInStep || row.link == MailLink::kPending ||
               row.link == MailLink::kRenewing;
    }

    // Both sides show the mail as `row` has it, with the read state of one of them. Where that may
    // not be changed now, a row with other news (`isNew`) is remembered as if the state had been in
    // step before it changed.
    void Settle(RememberedMail row, const MaildirEntry& file, bool now, bool eudoraWins,
                bool isNew) {
        const bool isSeen = IsSeen(file), differs = isSeen != now;
        const sync::Act act{!differs ? kMemory : eudoraWins ? kFolder : kEudora, kChange};
        row.flags = file.flags;
        if (!MayDo(act)) {
            row.marker = MarkerOf(eudoraWins ? isSeen : now);
            if (isNew) Add(kMemory, kChange, std::move(row), &file);
            return;
        }
        if (differs && eudoraWins) row.flags = maildir::WithFlag(file.flags, 'S', now);
        Add(act.side, kChange, std::move(row), &file);
    }

    // The row is as it was in memory, but for Eudora's id and what it lacks.
    void PlanFlags(const EudoraHead& head, RememberedMail row, const MaildirEntry& file,
                   bool hasNews) {
        const bool now = IsSeen(head.marker), before = WasSeen(row, now);
        hasNews = hasNews || row.link != MailLink::kInStep || row.unique != file.unique;
        if (!hasNews && row.marker == head.marker && IsSeen(file) == now) {
            return;
        }
        if (row.link == MailLink::kAdding) row.content.clear();
        row.unique = file.unique;
        row.link = MailLink::kInStep;
        row.marker = head.marker;
        Settle(std::move(row), file, now, now != before, hasNews);
    }

    // Whether the file lacks what Eudora and its limits give now.
    bool IsToBeRenewed(const RememberedMail& row) const {
        using enum state::MailLack;
        if (!IsSettled(row) || row.size == 0 || row.lack == kNothing) return false;
        return row.lack == kTexts ||
               static_cast<std::uint64_t>(row.lack) <= m_sides.largestAttachment;
    }
    // What a person or a program changed in the file would be lost.
    bool IsEdited(const RememberedMail& row, const MaildirEntry& file) const {
        const auto renamed = m_sides.foreign.find(file.unique);
        return m_sides.edited.contains(file.unique) ||
               (renamed != m_sides.foreign.end() && renamed->second.size != row.size);
    }
    // Gives whether the row changed.
    bool PlanRenewal(RememberedMail& row, const MaildirEntry& file) {
        if (!IsToBeRenewed(row) || !MayDo({kFolder, kRedo})) return false;
        if (!IsEdited(row, file)) {
            Add(kFolder, kRedo, row, &file);
            return false;
        }
        m_plan.report.notes.push_back(
            row.name +
            ": its file was edited in the Maildir, so it is not composed again with all that "
            "Eudora has of it");
        row.lack = state::MailLack::kNothing;
        return true;
    }

    void PlanKnown(const EudoraHead& head, std::size_t known) {
        if (head.marker.empty()) return;
        RememberedMail row = m_remembered[known];
        const bool hasNewId = row.id != head.id;
        row.id = head.id;
        const MaildirEntry* const file = m_files.fileOfRow[known];
        if (file == nullptr) return PlanRemovedFile(head, std::move(row), hasNewId);
        const bool hasNews = PlanRenewal(row, *file) || hasNewId;
        PlanFlags(head, std::move(row), *file, hasNews);
    }

    void PlanRemovedFile(const EudoraHead& head, RememberedMail row, bool hasNewId) {
        if (row.link == MailLink::kDropped) {
            // An earlier version, which could not remove mails in Eudora, remembered it so.
            ++m_plan.report.dropped;
            if (hasNewId) Add(kMemory, kChange, std::move(row));
            return;
        }
        if (Holds()) return;
        const bool now = IsSeen(head.marker);
        if (WasSeen(row, now) == now) return Add(kEudora, kRemove, std::move(row));
        const Prefer winner = WinnerOf(row.name);
        if (winner == Prefer::kFolder) return Add(kEudora, kRemove, std::move(row));
        if (winner != Prefer::kEudora) {
            return Conflict(row.name, "removed in the Maildir, changed in Eudora: ", now);
        }
        row.link = MailLink::kPending;
        row.marker = head.marker;
        row.flags = FlagsOf(head.marker);
        Add(kFolder, kAdd, std::move(row));
    }

    // Whether a removal waits.
    bool Holds() {
        m_plan.report.held += m_sides.mayMiss;
        return m_sides.mayMiss;
    }

    void Conflict(const std::string& name, std::string what) {
        if (!m_options.resolve) m_plan.report.conflicts.push_back({name, std::move(what)});
    }
    void Conflict(const std::string& name, std::string what, bool isSeenNow) {
        Conflict(name, std::move(what) +
                           (isSeenNow ? "\"read\", was \"unread\"" : "\"unread\", was \"read\""));
    }
    // Who wins a conflict, whose next step settles it.
    Prefer WinnerOf(const std::string& name) {
        if (!m_options.resolve) return m_options.prefer;
        if (!IsToBeResolved(name)) return Prefer::kNone;
        return m_options.resolve->winner == kEudora ? Prefer::kEudora : Prefer::kFolder;
    }
    bool IsToBeResolved(const std::string& name) {
        m_settlesConflict = m_options.resolve && m_options.resolve->name == name;
        return m_settlesConflict;
    }
    void CheckResolved() {
        if (!m_plan.steps.empty() || m_plan.report.stop) return;
        m_plan.report.stop = sync::NoSuchConflict(m_options.resolve->name);
    }

    // Both were there before anything was remembered: nobody knows who changed the read state.
    // Without a preference a mail that was read anywhere is read.
    void PlanPair(const EudoraHead& head, const MaildirEntry& file) {
        const bool now = IsSeen(head.marker);
        RememberedMail row = RowOf(head, MailLink::kInStep);
        row.unique = file.unique;
        row.content = head.content;
        if (row.name.empty()) row.name = m_sides.foreign.at(file.unique).name;
        const bool hasPreference =
            m_options.prefer == Prefer::kEudora || m_options.prefer == Prefer::kFolder;
        Settle(std::move(row), file, now, hasPreference ? m_options.prefer == Prefer::kEudora : now,
               true);
    }

    void PlanNew(std::size_t at) {
        const EudoraHead& head = m_sides.eudora[at];
        if (head.marker.empty()) {
            m_hasUnknown = m_hasUnknown || head.fileMessageId.empty();
            return;
        }
        if (m_files.fileOfHead[at] != nullptr) return PlanPair(head, *m_files.fileOfHead[at]);
        if (!head.isWithinLimits) return;
        Add(kFolder, kAdd, RowOf(head, MailLink::kPending));
    }

    void PlanGone(std::size_t known) {
        if (Holds()) return;
        const RememberedMail& row = m_remembered[known];
        const MaildirEntry* const file = m_files.fileOfRow[known];
        if (file == nullptr) return Add(kMemory, kRemove, row);
        // It never came to Eudora.
        if (row.link == MailLink::kAdding) return Add(kEudora, kAdd, row, file);
        if (!IsMarked(*file)) {
            const bool isChanged =
                row.link != MailLink::kKept && IsSeen(*file) != IsSeen(row.marker);
            if (!isChanged) return Add(kFolder, kRemove, row, file);
            const Prefer winner = WinnerOf(row.name);
            if (winner == Prefer::kEudora) return Add(kFolder, kRemove, row, file);
            if (winner == Prefer::kFolder) return Add(kEudora, kAdd, row, file);
            return Conflict(row.name,
                            "removed in Eudora, changed in the Maildir: ", !IsSeen(row.marker));
        }
        ++m_plan.report.kept;
        if (row.link == MailLink::kKept) return;
        RememberedMail kept = row;
        kept.link = MailLink::kKept;
        kept.unique = file->unique;
        Add(kMemory, kChange, std::move(kept));
    }

    // Adds new files to Eudora in the order of their names, which mostly begin with the time.
    void PlanNewFiles() {
        std::vector<const MaildirEntry*> files;
        for (const MaildirEntry& file : m_sides.folder) {
            if (!m_files.taken.contains(file.unique)) files.push_back(&file);
        }
        std::ranges::sort(files, {},
                          [](const auto* file) { return std::string_view(file->unique); });
        for (const MaildirEntry* file : files) {
            const auto head = m_sides.foreign.find(file->unique);
            m_plan.report.drafts += maildir::HasFlag(file->flags, 'D');
            if (maildir::HasFlag(file->flags, 'D') || head == m_sides.foreign.end() || m_hasUnknown)
                continue;
            RememberedMail row;
            row.link = MailLink::kAdding;
            row.unique = file->unique;
            row.flags = file->flags;
            row.name = head->second.name;
            row.fileId = head->second.messageId;
            Add(kEudora, kAdd, std::move(row), file);
        }
    }

    // A mail cannot be found again in Eudora's out-box: whether a run that was cut off put it there
    // is seen by the number of mails in it.
    void PlanOutgoing(const OutgoingFile& outgoing, const RememberedMail* known) {
        if (maildir::HasFlag(outgoing.file.flags, 'D')) {
            ++m_plan.report.drafts;
            return;
        }
        RememberedMail row;
        if (known != nullptr) row = *known;
        row.link = MailLink::kSending;
        row.unique = outgoing.file.unique;
        row.name = outgoing.name;
        const bool isQueued =
            known != nullptr && m_sides.queued > known->size + HandedOverBefore(*known);
        const bool isDoubtful = known != nullptr && m_sides.queued < known->size;
        const bool isLossy = !isQueued && outgoing.lostCharacters > 0 && !m_options.substitute;
        // A preference for all conflicts sends nothing.
        const bool waits = (isDoubtful || isLossy) && !IsToBeResolved(row.name);
        if (waits && isDoubtful) {
            return Conflict(row.name,
                            "in .Outbox, perhaps queued by a run that was cut off: look into "
                            "Eudora's Out, then remove the file, or move it out and in again to "
                            "send it");
        }
        if (waits) {
            return Conflict(row.name, "in .Outbox, not sent: ? would stand for " +
                                          std::to_string(outgoing.lostCharacters) +
                                          " characters that Eudora's code page lacks; "
                                          "--substitute allows that, or write it without them");
        }
        if ((isDoubtful || isLossy) && m_options.resolve->winner == kEudora) {
            // Eudora has it, or it stays where it is.
            m_settlesConflict = isDoubtful;
            if (isDoubtful) return Add(kFolder, kFile, std::move(row), &outgoing.file);
            m_plan.report.stop = {base::Refused(
                row.name + " is in .Outbox alone",
                "remove the file there, or send it with ? by --take folder or --substitute")};
            return;
        }
        isQueued ? Add(kFolder, kFile, std::move(row), &outgoing.file)
                 : Add(kEudora, kQueue, std::move(row), &outgoing.file);
    }

    void PlanOutgoing() {
        if (m_options.direction == sync::Direction::kPull && !m_options.resolve) return;
        std::unordered_map<std::string_view, const RememberedMail*> known;
        for (const RememberedMail& row : m_sides.sending) known.emplace(row.unique, &row);
        for (const OutgoingFile& outgoing : m_sides.outgoing) {
            const auto row = known.find(outgoing.file.unique);
            PlanOutgoing(outgoing, row != known.end() ? row->second : nullptr);
            if (row != known.end()) known.erase(row);
        }
        for (const RememberedMail& row : m_sides.sending) {
            if (known.contains(row.unique)) Add(kMemory, kRemove, row);
        }
    }

    void CheckLimit(sync::Side side, const char* what) {
        sync::Report& report = m_plan.report;
        if (report.stop) return;
        report.stop = sync::TooManyDeletions(report.Count(side, kRemove), what, m_inStep,
                                             m_options.maxDelete);
        if (report.stop) report.stop->side = side;
    }

    void CheckLimits() {
        sync::Report& report = m_plan.report;
        const auto removals = static_cast<unsigned long>(
            std::max(report.Count(kFolder, kRemove), report.Count(kEudora, kRemove)));
        const bool isAllowed = m_options.maxDelete &&
                               removals <= sync::DeletionsAllowed(m_inStep, m_options.maxDelete);
        const bool isBoxEmpty = m_sides.eudora.empty() && MayDo({kFolder, kRemove});
        const bool isFolderEmpty = m_inFolder == 0 && MayDo({kEudora, kRemove});
        if (m_inStep > 0 && (isBoxEmpty || isFolderEmpty) && !isAllowed) {
            const char* side =
                isBoxEmpty ? "Eudora's in-box is empty" : "the Maildir holds none of them";
            report.stop = {
                base::Refused(std::to_string(m_inStep) + " mails are remembered, but " + side,
                              "check the paths; if that is meant, say so with --max-delete " +
                                  std::to_string(std::max<unsigned long>(removals, 1)))};
        }
        CheckLimit(kFolder, "mails would be removed from the Maildir");
        CheckLimit(kEudora, "mails would be removed from Eudora");
        if (report.stop) return;
        report.stop =
            sync::TooManyAdditions(report.Count(kEudora, kAdd), "mails would be added to Eudora",
                                   m_remembered.size(), m_options.maxAdd);
        if (report.stop) report.stop->side = kEudora;
    }

    const MailSides& m_sides;
    const std::vector<RememberedMail>& m_remembered;
    const sync::Options& m_options;
    const MailMatching m_mails;
    const FileMatching m_files;
    bool m_settlesConflict = false;  // the next step is that of the one to be resolved
    std::size_t m_inStep = 0, m_inFolder = 0;
    bool m_hasUnknown = false;  // a mail of Eudora's that may be any file
    MailPlan m_plan;
};

}  // namespace

std::optional<sync::Change> Told(const MailStep& step) {
    const RememberedMail& row = step.row;
    if (step.act.side == kMemory) return std::nullopt;
    sync::Change change{
        row.name, {}, {}, {}, row.id, row.messageId, maildir::HasFlag(row.flags, 'S')};
    (step.act.side == kEudora ? change.eudora : change.folder) = {step.act.verb, row.name, {}};
    return change;
}

MailPlan PlanMail(const MailSides& sides, const sync::Options& options) {
    return MailPlanner(sides, options).Make();
}

}  // namespace host::mailsync
