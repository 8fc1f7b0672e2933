#include "host/mailsync/mail_plan.h"

#include <algorithm>

#include "host/mail/mail.h"

namespace host::mailsync {

namespace {

using maildir::MaildirEntry;
using state::MailLink;
using state::RememberedMail;
using sync::Prefer;
using enum sync::Side;
using enum sync::Verb;

constexpr char kSeenFlag = 'S';

// Whether the person marked the file, which then is more than a copy of Eudora's mail.
bool IsMarked(const MaildirEntry& file) {
    return maildir::HasFlag(file.flags, 'F') || maildir::HasFlag(file.flags, 'D');
}

// Whether the mail was read when both sides were last in step. One that a run which was cut off
// added stands read in Eudora until its state is stored: the file's flag counts.
bool WasSeen(const RememberedMail& row, bool isSeenNow) {
    return IsSeen(row.marker) || (row.link == MailLink::kAdding && isSeenNow);
}

std::string FlagsOf(const std::string& marker) {
    return IsSeen(marker) ? std::string(1, kSeenFlag) : std::string();
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
        : m_sides(sides), m_remembered(sides.remembered), m_options(options) {}

    MailPlan Make() {
        FindFiles();
        const MailMatching matching = MatchMails(m_sides);
        FollowFiles(matching.isLost);
        for (std::size_t i = 0; i < m_sides.eudora.size(); ++i) {
            const auto row = matching.rowOf[i];
            row ? PlanKnown(m_sides.eudora[i], m_remembered[*row]) : PlanNew(m_sides.eudora[i]);
        }
        for (std::size_t i = 0; i < m_remembered.size(); ++i) {
            if (matching.isGone[i]) PlanGone(m_remembered[i]);
        }
        PlanNewFiles();
        PlanOutgoing();
        for (const MailStep& step : m_plan.steps) {
            if (auto change = Told(step)) m_plan.report.changes.push_back(*std::move(change));
        }
        CheckLimits();
        m_plan.report.errors = m_sides.unread;
        return std::move(m_plan);
    }

  private:
    void Add(sync::Side side, sync::Verb verb, RememberedMail row,
             const MaildirEntry* file = nullptr) {
        m_plan.steps.push_back(
            {{side, verb}, std::move(row), file != nullptr ? *file : MaildirEntry{}});
    }

    const MaildirEntry* FileOf(const RememberedMail& row) const {
        const auto found = m_files.find(row.unique);
        if (found != m_files.end()) return found->second;
        const auto renamed = m_renamed.find(row.key);
        return renamed != m_renamed.end() ? renamed->second : nullptr;
    }

    // The files by name, and those that nobody remembers by what they say they are.
    void FindFiles() {
        for (const MaildirEntry& file : m_sides.folder) m_files.emplace(file.unique, &file);
        for (const RememberedMail& row : m_remembered) m_taken.insert(row.unique);
        for (const MaildirEntry& file : m_sides.folder) {
            const auto head = m_sides.foreign.find(file.unique);
            if (m_taken.contains(file.unique) || head == m_sides.foreign.end()) continue;
            m_foreign[head->second.messageId].push_back(&file);
        }
    }

    // What became of the files of the remembered mails. A program that changes what stands in front
    // of the flags has renamed the file, not removed it.
    void FollowFiles(const std::vector<bool>& lost) {
        for (std::size_t i = 0; i < m_remembered.size(); ++i) {
            const RememberedMail& row = m_remembered[i];
            if (lost[i]) {
                Add(kMemory, kRedo, row, FileOf(row));
                continue;
            }
            if (!m_files.contains(row.unique)) {
                m_renamed[row.key] =
                    TakeForeign(row.fileId.empty() ? row.messageId : row.fileId, row.name);
            }
            if (row.link != MailLink::kInStep && row.link != MailLink::kPending) continue;
            ++m_inStep;
            m_inFolder += FileOf(row) != nullptr;
        }
    }

    // Both sides show the mail as `row` has it, with the read state of one of them.
    void Settle(RememberedMail row, const MaildirEntry& file, bool now, bool eudoraWins) {
        const bool differs = maildir::HasFlag(file.flags, kSeenFlag) != now;
        row.flags =
            differs && eudoraWins ? maildir::WithFlag(file.flags, kSeenFlag, now) : file.flags;
        Add(!differs ? kMemory : eudoraWins ? kFolder : kEudora, kChange, std::move(row), &file);
    }

    // The row is as it was in memory, but for Eudora's id.
    void PlanFlags(const EudoraHead& head, RememberedMail row, const MaildirEntry& file) {
        const bool now = IsSeen(head.marker), before = WasSeen(row, now);
        const bool hasNews = row.link != MailLink::kInStep || row.marker != head.marker ||
                             row.unique != file.unique ||
                             maildir::HasFlag(file.flags, kSeenFlag) != now;
        if (!hasNews) return;
        if (row.link == MailLink::kAdding) row.content.clear();
        row.unique = file.unique;
        row.link = MailLink::kInStep;
        row.marker = head.marker;
        Settle(std::move(row), file, now, now != before);
    }

    void PlanKnown(const EudoraHead& head, const RememberedMail& known) {
        if (head.marker.empty()) return;
        RememberedMail row = known;
        row.id = head.id;
        if (const MaildirEntry* const file = FileOf(row); file != nullptr) {
            // A mail with a new id is remembered anew.
            if (row.link == MailLink::kInStep && row.id != known.id) row.link = MailLink::kPending;
            return PlanFlags(head, std::move(row), *file);
        }
        const bool hasNewId = row.id != known.id;
        PlanRemovedFile(head, std::move(row), hasNewId);
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
        if (WasSeen(row, now) == now || m_options.prefer == Prefer::kFolder) {
            return Add(kEudora, kRemove, std::move(row));
        }
        if (m_options.prefer != Prefer::kEudora) {
            return Conflict(row.name, "removed in the Maildir, read state changed in Eudora");
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

    void Conflict(const std::string& name, const char* what) {
        m_plan.report.conflicts.push_back({name, what});
    }

    // A file of the same Message-ID that nobody remembers, of several one that is called alike;
    // each is given out once.
    const MaildirEntry* TakeForeign(const std::string& messageId, const std::string& name) {
        const auto found = m_foreign.find(messageId);
        if (found == m_foreign.end() || found->second.empty()) return nullptr;
        auto& files = found->second;
        auto taken = std::ranges::find_if(files, [&](const MaildirEntry* file) {
            return m_sides.foreign.at(file->unique).name == name;
        });
        if (taken == files.end()) taken = files.begin();
        const MaildirEntry* const file = *taken;
        files.erase(taken);
        m_taken.insert(file->unique);
        return file;
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
        Settle(std::move(row), file, now,
               hasPreference ? m_options.prefer == Prefer::kEudora : now);
    }

    void PlanNew(const EudoraHead& head) {
        const auto* const file = TakeForeign(head.fileMessageId, head.name);
        if (head.marker.empty()) {
            m_hasUnknown = m_hasUnknown || head.fileMessageId.empty();
            return;
        }
        if (file != nullptr) return PlanPair(head, *file);
        if (!head.isWithinLimits) return;
        Add(kFolder, kAdd, RowOf(head, MailLink::kPending));
    }

    void PlanGone(const RememberedMail& row) {
        if (Holds()) return;
        const MaildirEntry* const file = FileOf(row);
        if (file == nullptr) return Add(kMemory, kRemove, row);
        // It never came to Eudora.
        if (row.link == MailLink::kAdding) return Add(kEudora, kAdd, row, file);
        if (!IsMarked(*file)) {
            const bool isChanged = row.link != MailLink::kKept &&
                                   maildir::HasFlag(file->flags, kSeenFlag) != IsSeen(row.marker);
            if (!isChanged || m_options.prefer == Prefer::kEudora) {
                return Add(kFolder, kRemove, row, file);
            }
            if (m_options.prefer == Prefer::kFolder) return Add(kEudora, kAdd, row, file);
            return Conflict(row.name, "removed in Eudora, read state changed in the Maildir");
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
            if (!m_taken.contains(file.unique)) files.push_back(&file);
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
        if (known == nullptr || m_sides.queued == known->size) {
            return Add(kEudora, kQueue, std::move(row), &outgoing.file);
        }
        if (m_sides.queued > known->size)
            return Add(kFolder, kFile, std::move(row), &outgoing.file);
        Conflict(row.name,
                 "in .Outbox, perhaps queued by a run that was cut off: look into Eudora's "
                 "Out, then remove the file, or move it out and in again to send it");
    }

    void PlanOutgoing() {
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
        if (m_inStep > 0 && (m_sides.eudora.empty() || m_inFolder == 0) && !isAllowed) {
            const char* side = m_sides.eudora.empty() ? "Eudora's in-box is empty"
                                                      : "the Maildir holds none of them";
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
    }

    const MailSides& m_sides;
    const std::vector<RememberedMail>& m_remembered;
    const sync::Options& m_options;
    std::unordered_map<std::string_view, const MaildirEntry*> m_files;
    std::unordered_map<std::string, std::vector<const MaildirEntry*>> m_foreign;
    std::unordered_set<std::string_view> m_taken;  // unique names of files that have a mail
    std::unordered_map<std::int64_t, const MaildirEntry*> m_renamed;  // by the row's key
    std::size_t m_inStep = 0, m_inFolder = 0;
    bool m_hasUnknown = false;  // a mail of Eudora's that may be any file
    MailPlan m_plan;
};

using state::MailLink;
using state::RememberedMail;
// Positions by a text, given out one by one in their order; an empty text finds nothing.
class Pool {
  public:
    void Add(const std::string& text, std::size_t position) {
        if (!text.empty()) m_positions.emplace(text, Queue()).first->second.all.push_back(position);
    }
    std::optional<std::size_t> Take(const std::string& text) {
        const auto found = m_positions.find(text);
        if (found == m_positions.end()) return std::nullopt;
        Queue& queue = found->second;
        if (queue.next == queue.all.size()) return std::nullopt;
        return queue.all[queue.next++];
    }

  private:
    struct Queue {
        std::vector<std::size_t> all;
        std::size_t next = 0;
    };
    std::unordered_map<std::string, Queue> m_positions;
};

// An id that another mail got is no sign.
bool IsSame(const EudoraHead& head, const RememberedMail& row) {
    if (!head.messageId) return row.link != MailLink::kAdding;
    return *head.messageId == row.messageId;
}

std::vector<bool> LostDeliveries(const MailSides& sides) {
    std::unordered_set<std::string_view> present;
    for (const maildir::MaildirEntry& file : sides.folder) present.insert(file.unique);
    std::vector<bool> lost;
    for (const RememberedMail& row : sides.remembered) {
        lost.push_back(row.link == MailLink::kPending &&
                       (!present.contains(row.unique) || sides.torn.contains(row.unique)));
    }
    return lost;
}

}  // namespace

std::optional<sync::Change> Told(const MailStep& step) {
    const RememberedMail& row = step.row;
    if (step.act.side == kMemory) return std::nullopt;
    sync::Change change{
        row.name, {}, {}, {}, row.id, row.messageId, maildir::HasFlag(row.flags, kSeenFlag)};
    (step.act.side == kEudora ? change.eudora : change.folder) = {step.act.verb, row.name, {}};
    return change;
}

MailPlan PlanMail(const MailSides& sides, const sync::Options& options) {
    return MailPlanner(sides, options).Make();
}

bool IsSeen(const std::string& marker) {
    return marker != std::to_string(mail::kStatusUnread);
}

MailMatching MatchMails(const MailSides& sides) {
    const std::vector<EudoraHead>& eudora = sides.eudora;
    const std::vector<RememberedMail>& remembered = sides.remembered;
    MailMatching matching{
        std::vector<std::optional<std::size_t>>(eudora.size()), LostDeliveries(sides), {}};
    const std::vector<bool>& lost = matching.isLost;
    matching.isGone = lost;
    matching.isGone.flip();
    std::unordered_map<std::string_view, std::size_t> byId;
    for (std::size_t i = 0; i < remembered.size(); ++i) {
        if (!lost[i]) byId.emplace(remembered[i].id, i);
    }
    for (std::size_t i = 0; i < eudora.size(); ++i) {
        const auto found = byId.find(eudora[i].id);
        if (found == byId.end() || !IsSame(eudora[i], remembered[found->second])) continue;
        matching.rowOf[i] = found->second;
        matching.isGone[found->second] = false;
    }
    Pool byMessageId, byContent;
    for (std::size_t i = 0; i < remembered.size(); ++i) {
        if (!matching.isGone[i]) continue;
        const RememberedMail& row = remembered[i];
        row.messageId.empty() ? byContent.Add(row.content, i) : byMessageId.Add(row.messageId, i);
    }
    for (std::size_t i = 0; i < eudora.size(); ++i) {
        if (matching.rowOf[i]) continue;
        const std::string id = eudora[i].messageId.value_or("");
        const auto row = id.empty() ? byContent.Take(eudora[i].content) : byMessageId.Take(id);
        if (!row) continue;
        matching.rowOf[i] = row;
        matching.isGone[*row] = false;
    }
    return matching;
}

}  // namespace host::mailsync
