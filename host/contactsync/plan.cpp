#include "host/contactsync/plan.h"

#include <algorithm>
#include <unordered_set>

#include "host/contactsync/field_merge.h"
#include "host/contactsync/nicknames.h"
#include "host/contactsync/pairing.h"
#include "text/utf.h"

namespace host::contactsync {

namespace {

using base::Contact;
using base::DisplayName;
using base::Field;
using contacts::StoredContact;
using state::RememberedPair;
using sync::Prefer;
using sync::Side;
using sync::Verb;

std::string NameOf(const StoredContact& stored) {
    return DisplayName(stored.contact, stored.item.id);
}

// The contact as it is.
SideAction Kept(const StoredContact& stored) {
    return {Verb::kNone, stored.item, stored.contact};
}

SideAction Changed(const StoredContact& stored, const Contact& values, base::FieldSet fields,
                   const Contact& before) {
    return {
        fields.IsEmpty() ? Verb::kNone : Verb::kChange, stored.item, values, fields, {}, before};
}

// A value in a line of a report.
std::string Quoted(const std::string& value) {
    constexpr std::size_t kMost = 60;
    std::string line = value;
    std::size_t end = std::min(line.size(), kMost);
    while (end < line.size() && text::IsContinuation(line[end])) --end;
    const bool isCut = end < line.size();
    line.resize(end);
    for (auto at = line.find('\n'); at != std::string::npos; at = line.find('\n', at)) {
        line.replace(at, 1, " / ");
    }
    return '"' + line + (isCut ? "...\"" : "\"");
}

// A line with a piece for each of the fields.
template <class Piece>
std::string ForEach(base::FieldSet fields, const char* separator, const Piece& piece) {
    std::string line;
    for (const Field field : base::kAllFields) {
        if (!fields.Has(field)) continue;
        line.append(line.empty() ? "" : separator)
            .append(base::FieldName(field))
            .append(piece(field));
    }
    return line;
}

std::string Names(base::FieldSet fields) {
    return ForEach(fields, ", ", [](Field) { return ""; });
}

// Whether a text of somebody's name became one that tells nothing any more.
bool IsLost(const std::string& name, const std::string& held) {
    return name != held && !name.empty() && held.find_first_not_of("? ") == std::string::npos;
}

class Planner {
  public:
    Planner(const Sides& sides, const state::Remembered& remembered, const contacts::Stores& stores,
            const sync::Options& options)
        : m_sides(sides),
          m_remembered(remembered),
          m_stores(stores),
          m_options(options),
          m_nicknames(stores.eudora) {
        for (const StoredContact& stored : sides.eudora) m_nicknames.Reserve(stored.item.id);
    }

    Plan Make() {
        const Pairing pairing = FindPairs(m_sides, m_remembered, m_stores);
        ReserveNicknames(pairing);
        if (m_options.resolve) return MakeResolved(pairing);
        for (std::size_t i = 0; i < pairing.known.size(); ++i) PlanKnown(pairing.known[i], i);
        for (const Pairing::Found& found : pairing.found) PlanFound(found);
        for (const std::size_t i : pairing.onlyEudora) AddToFolder(m_sides.eudora[i], 0);
        for (const std::size_t i : pairing.onlyFolder) AddToEudora(m_sides.folder[i], 0);
        m_plan.report.leftAlone = m_sides.passedOver;
        for (const StoredContact& stored : m_sides.folder) TellRicher(stored);
        return Finished();
    }

  private:
    void PlanKnown(const Pairing::Known& known, std::size_t index) {
        const auto& [eudora, folder, isIntended] = known;
        const RememberedPair& pair = m_remembered.pairs[index];
        if (eudora && folder) {
            PlanMerge(m_sides.eudora[*eudora], m_sides.folder[*folder], &pair, isIntended);
        } else {
            PlanVanished(eudora ? &m_sides.eudora[*eudora] : nullptr,
                         folder ? &m_sides.folder[*folder] : nullptr, pair);
        }
    }

    void PlanFound(const Pairing::Found& found) {
        PlanMerge(m_sides.eudora[found.eudora], m_sides.folder[found.folder], nullptr,
                  found.isIntended);
    }

    // The plan of the one pair that has the conflict; nothing of the others.
    Plan MakeResolved(const Pairing& pairing) {
        m_plan.leftIntents = m_plan.intents = m_remembered.intents;
        const Plan empty = m_plan;
        for (std::size_t i = 0; i < pairing.known.size() && !m_isResolved; ++i) {
            m_plan = empty;
            PlanKnown(pairing.known[i], i);
        }
        for (std::size_t i = 0; i < pairing.found.size() && !m_isResolved; ++i) {
            m_plan = empty;
            PlanFound(pairing.found[i]);
        }
        if (m_isResolved) {
            Plan plan = Finished();
            if (plan.report.changes.empty() && !plan.report.details.empty()) {
                plan.report.stop = sync::LeftByDirection(m_options.resolve->name);
            }
            return plan;
        }
        m_plan = empty;
        m_plan.report.stop = sync::NoSuchConflict(m_options.resolve->name);
        return std::move(m_plan);
    }

    Plan Finished() {
        for (const Step& step : m_plan.steps) {
            if (auto told = step.Told(true, true))
                m_plan.report.changes.push_back(*std::move(told));
        }
        std::ranges::sort(m_plan.report.details);
        m_plan.dropIntents = m_remembered.intents.size() > m_plan.leftIntents.size();
        CheckLimits();
        return std::move(m_plan);
    }

    void TellRicher(const StoredContact& stored) {
        if (stored.beyond == 0) return;
        ++m_plan.report.richer;
        const auto inPart = base::Differing(stored.contact, m_stores.eudora.Hold(stored.contact));
        std::string line = "holds more than Eudora can: " + NameOf(stored) + ", " + stored.item.id;
        if (!inPart.IsEmpty()) line += " (in part: " + Names(inPart) + ')';
        m_plan.report.details.push_back(std::move(line));
    }

    // Whether the direction lets a side change. Else what it would get is told as left.
    bool MayChange(Side side) const {
        return m_options.direction == sync::Direction::kBoth ||
               (m_options.direction == sync::Direction::kPull) == (side == Side::kFolder);
    }
    bool MayChange(Side side, const std::string& name, const std::string& what) {
        if (MayChange(side)) return true;
        m_plan.report.details.push_back(
            std::string("left, as the direction goes, ") +
            (side == Side::kEudora ? "in the folder: " : "in Eudora: ") + name + " (" + what + ')');
        return false;
    }

    // Who wins what both sides changed of the contact of that name; nothing if it waits.
    std::optional<Side> Favourite(const std::string& name) {
        if (m_options.resolve && m_options.resolve->name == name) return m_options.resolve->winner;
        if (m_options.resolve) return std::nullopt;
        if (m_options.prefer == Prefer::kEudora) return Side::kEudora;
        if (m_options.prefer == Prefer::kFolder) return Side::kFolder;
        return std::nullopt;
    }

    // What becomes of a contact that is gone from the other side.
    enum class Fate { kRemove, kBringBack, kWait };
    Fate FateOf(const StoredContact& left, Side side, const RememberedPair& pair,
                const std::string& name) {
        if (left.isStandIn) return Fate::kWait;
        if (left.contact == (side == Side::kFolder ? pair.folder : pair.eudora).contact) {
            return m_options.resolve ? Fate::kWait : Fate::kRemove;
        }
        if (HasNoFavourite()) return Fate::kBringBack;
        const auto winner = Favourite(name);
        if (!winner) return Fate::kWait;
        return *winner == side ? Fate::kBringBack : Fate::kRemove;
    }
    // No other contact of Eudora's has it: where the nickname waits, what is remembered is an old
    // one.
    static std::string NameOfVanished(const RememberedPair& pair) {
        const auto& [id, marker] = pair.eudora.item;
        return marker.starts_with(kWaits) ? id : DisplayName(pair.eudora.contact, id);
    }

    // A contact that is gone from Eudora keeps its nickname as long as that waits: another one
    // under it would be taken for it.
    void ReserveNicknames(const Pairing& pairing) {
        for (std::size_t i = 0; i < pairing.known.size(); ++i) {
            const auto& [eudora, folder, isIntended] = pairing.known[i];
            if (eudora || !folder) continue;
            const RememberedPair& pair = m_remembered.pairs[i];
            const Fate fate =
                FateOf(m_sides.folder[*folder], Side::kFolder, pair, NameOfVanished(pair));
            const bool isDone = fate == Fate::kRemove      ? MayChange(Side::kFolder)
                                : fate == Fate::kBringBack ? MayChange(Side::kEudora)
                                                           : false;
            if (!isDone) m_nicknames.Reserve(pair.eudora.item.id);
        }
    }

    // False, with a notice, if Eudora cannot take what the step does there.
    bool IsAccepted(Step& step, const Contact& inFolder) {
        const auto& values = step.eudora.values;
        const auto fields =
            step.eudora.verb == Verb::kAdd ? base::NonEmpty(values) : step.eudora.fields;
        auto reason = m_stores.eudora.Refusal(values, fields);
        for (const Field field : {Field::kNickname, Field::kName}) {
            if (!fields.Has(field) || !IsLost(inFolder[field], values[field])) continue;
            reason = "its " + std::string(base::FieldName(field)) +
                     " has no character that Eudora's code page can hold";
        }
        if (reason) m_plan.report.refused.push_back({step.name, *reason});
        for (const Field field : base::kAllFields) {
            const bool isWhole = values[field] == inFolder[field] || inFolder[field].empty();
            if (fields.Has(field) && !isWhole) step.inPart.Add(field);
        }
        return !reason;
    }

    void AddToFolder(const StoredContact& eudora, state::Key key) {
        if (!MayChange(Side::kFolder, NameOf(eudora), "new")) return;
        m_plan.steps.push_back({key,
                                NameOf(eudora),
                                Kept(eudora),
                                {Verb::kAdd, {}, m_stores.folder.Hold(eudora.contact)}});
    }

    void AddToEudora(const StoredContact& folder, state::Key key) {
        if (!MayChange(Side::kEudora, NameOf(folder), "new")) return;
        Step step{
            key,          NameOf(folder), {Verb::kAdd, {}, m_stores.eudora.Hold(folder.contact)},
            Kept(folder), folder.uid,     folder.beyond};
        std::string& nickname = step.eudora.values[Field::kNickname];
        if (nickname.empty()) nickname = NicknameFor(step.eudora.values, m_stores.eudora);
        if (!IsAccepted(step, folder.contact)) return;
        nickname = m_nicknames.Take(nickname);
        m_plan.intents.push_back({"", nickname, folder.item.id});
        m_plan.steps.push_back(std::move(step));
    }

    // Whether the run settles by itself what both sides changed, and keeps both. A copy of the
    // older one goes to both sides.
    bool HasNoFavourite() const {
        if (m_options.resolve) return false;
        return m_options.prefer == Prefer::kNewer ||
               (m_options.prefer == Prefer::kBoth && m_options.direction == sync::Direction::kBoth);
    }

    // One side of a pair is gone, or both.
    void PlanVanished(const StoredContact* eudora, const StoredContact* folder,
                      const RememberedPair& pair) {
        const bool inFolder = folder != nullptr;
        if (eudora != nullptr && pair.folder.item.marker == kAdding) {
            return AddToFolder(*eudora, pair.key);
        }
        const Side side = inFolder ? Side::kFolder : Side::kEudora;
        Step step{pair.key, eudora != nullptr ? NameOf(*eudora) : NameOfVanished(pair)};
        step.forget = true;
        if (!inFolder && eudora == nullptr) {
            m_plan.steps.push_back(std::move(step));
            return;
        }
        const StoredContact& left = inFolder ? *folder : *eudora;
        const Fate fate = FateOf(left, side, pair, step.name);
        const Contact& before = (inFolder ? pair.folder : pair.eudora).contact;
        const auto changed = base::Differing(left.contact, before);
        const std::string gone = inFolder ? "in Eudora" : "in the folder",
                          there = inFolder ? "in the folder" : "in Eudora";
        if (m_options.resolve && m_options.resolve->name == step.name && !changed.IsEmpty()) {
            m_isResolved = true;
        }
        if (fate == Fate::kRemove && MayChange(side, step.name, "removed")) {
            (inFolder ? step.folder : step.eudora) = {Verb::kRemove, left.item, left.contact};
            m_plan.steps.push_back(std::move(step));
        } else if (fate == Fate::kBringBack &&
                   MayChange(inFolder ? Side::kEudora : Side::kFolder, step.name, "kept")) {
            if (HasNoFavourite()) {
                m_plan.report.conflicts.push_back(
                    {step.name, "deleted " + gone + " and changed " + there + ": kept"});
            }
            inFolder ? AddToEudora(*folder, pair.key) : AddToFolder(*eudora, pair.key);
        } else if (!left.isStandIn && !changed.IsEmpty()) {
            if (fate == Fate::kWait) {
                const auto values = [&](Field field) {
                    return ": " + Quoted(left.contact[field]) + ", was " + Quoted(before[field]);
                };
                m_plan.report.conflicts.push_back({step.name, "removed " + gone + ", changed " +
                                                                  there + ": " +
                                                                  ForEach(changed, "; ", values)});
            }
            // It is known again by what it is called and holds now, which may change once more.
            step.forget = false;
            step.left = pair;
            (inFolder ? step.left->folder : step.left->eudora).item = {
                left.item.id, std::string(kWaits).append(base::BeyondNickname(left.contact))};
            if (*step.left != pair) m_plan.steps.push_back(std::move(step));
        }
    }

    // Whether a marked copy of that content is there already, from a run that was cut off or failed
    // in part.
    bool IsAlreadyKept(const Contact& copy) {
        if (!m_keptCopies) {
            m_keptCopies.emplace();
            for (const auto* side : {&m_sides.eudora, &m_sides.folder}) {
                for (const auto& [item, contact, uid, beyond, isPerson, isStandIn] : *side) {
                    if (contact[Field::kNickname].find(base::kOlderMark) == std::string::npos) {
                        continue;
                    }
                    m_keptCopies->insert(base::BeyondNickname(m_stores.eudora.Hold(contact)));
                }
            }
        }
        return m_keptCopies->contains(base::BeyondNickname(copy));
    }

    // Adds a marked copy of the older contact to both sides. False if Eudora refuses it.
    bool KeepOlder(const StoredContact& older, bool folderIsOlder, const std::string& fields) {
        Contact copy = older.contact;
        std::string& name = copy[Field::kName];
        if (!name.empty()) name += base::kOlderMark;
        const Contact held = m_stores.eudora.Hold(copy);
        if (!IsAlreadyKept(held)) {
            Step step{0, NameOf(older), {Verb::kAdd, {}, held}};
            std::string& nickname = step.eudora.values[Field::kNickname];
            if (nickname.empty()) nickname = DisplayName(held, "contact");
            nickname = m_stores.eudora.Nickname(nickname, std::string(base::kOlderMark));
            if (!IsAccepted(step, copy)) return false;
            step.inPart.Remove(Field::kNickname);
            nickname = copy[Field::kNickname] = m_nicknames.Take(nickname);
            step.folder = {Verb::kAdd, {}, copy, {}, folderIsOlder ? older.item.id : ""};
            m_plan.steps.push_back(std::move(step));
        }
        m_plan.report.notes.push_back(NameOf(older) + ": changed on both sides (" + fields +
                                      "): both kept, the older one of " +
                                      (folderIsOlder ? "the folder" : "Eudora") + " marked");
        return true;
    }

    bool FolderIsNewer(const StoredContact& eudora, const StoredContact& folder) const {
        const auto inEudora = m_stores.eudora.ChangedAt(eudora.item);
        const auto inFolder = m_stores.folder.ChangedAt(folder.item);
        return inEudora && inFolder && *inFolder > *inEudora;
    }

    // Settles what both sides changed, or lets it wait; false if it can be neither.
    bool Resolve(Merge& merge, const StoredContact& eudora, const StoredContact& folder) {
        if (merge.conflicts.IsEmpty()) return true;
        const std::string name = NameOf(eudora);
        m_isResolved = m_options.resolve && m_options.resolve->name == name;
        const auto favourite = Favourite(name);
        if (!favourite && !HasNoFavourite()) {
            const auto values = [&](Field field) {
                return ": " + Quoted(eudora.contact[field]) + " in Eudora, " +
                       Quoted(folder.contact[field]) + " in the folder";
            };
            m_plan.report.conflicts.push_back({name, ForEach(merge.conflicts, "; ", values)});
            merge.HoldBack(merge.conflicts);
            return true;
        }
        const bool folderWins =
            favourite ? *favourite == Side::kFolder : FolderIsNewer(eudora, folder);
        if (!favourite && m_options.prefer == Prefer::kBoth &&
            !KeepOlder(folderWins ? eudora : folder, !folderWins, Names(merge.conflicts))) {
            return false;
        }
        merge.Settle(folderWins);
        return true;
    }

    static bool IsUnchanged(const StoredContact& stored, const state::RememberedSide& side) {
        return stored.item.id == side.item.id && stored.item.marker == side.item.marker;
    }

    void PlanMerge(const StoredContact& eudora, const StoredContact& folder,
                   const RememberedPair* pair, bool isIntended) {
        if (pair != nullptr && IsUnchanged(eudora, pair->eudora) &&
            IsUnchanged(folder, pair->folder)) {
            return;
        }
        if (folder.isStandIn) return;
        Merge merge(eudora.contact, folder.contact, pair, isIntended, m_stores);
        const std::size_t stepsBefore = m_plan.steps.size();
        const std::size_t notesBefore = m_plan.report.notes.size();
        if (!Resolve(merge, eudora, folder)) return;
        for (const auto& [side, fields] :
             {std::pair(Side::kEudora, merge.toEudora), {Side::kFolder, merge.toFolder}}) {
            if (!fields.IsEmpty() && !MayChange(side, NameOf(eudora), Names(fields)))
                merge.HoldBack(fields);
        }
        Step step{
            pair != nullptr ? pair->key : 0,
            DisplayName(pair != nullptr ? pair->eudora.contact : eudora.contact, eudora.item.id),
            Changed(eudora, merge.eudora, merge.toEudora, merge.old.eudora),
            {},
            folder.uid,
            folder.beyond};
        if (step.eudora.verb == Verb::kChange && !IsAccepted(step, folder.contact)) {
            // What Eudora refuses waits, and with a copy of the older one the whole.
            if (m_plan.steps.size() > stepsBefore) merge.HoldBack(merge.toFolder);
            merge.HoldBack(merge.toEudora);
            m_plan.steps.resize(stepsBefore);
            m_plan.report.notes.resize(notesBefore);
            step.eudora = Changed(eudora, merge.eudora, merge.toEudora, merge.old.eudora);
        }
        step.folder = Changed(folder, merge.folder, merge.toFolder, merge.old.folder);
        step.waiting = merge.waiting;
        // The older one is gone once the pair changes: its copy comes first.
        if (m_plan.steps.size() > stepsBefore) step.needs = stepsBefore;
        if (merge.toEudora.Has(Field::kNickname)) {
            std::string& nickname = step.eudora.values[Field::kNickname];
            step.renamedTo = nickname = m_nicknames.Take(nickname);
            m_plan.intents.push_back({eudora.item.id, nickname, folder.item.id});
        } else if (merge.toFolder.Has(Field::kNickname) && pair != nullptr) {
            step.renamedTo = merge.folder[Field::kNickname];
        }
        const bool isKept = !step.Told(true, true) && pair != nullptr;
        if (isKept && step.Remembered(eudora, folder) == *pair) return;
        m_plan.steps.push_back(std::move(step));
    }

    void CheckLimits() {
        const unsigned long total = std::ranges::count_if(
            m_remembered.pairs,
            [](const RememberedPair& pair) { return pair.folder.item.marker != kAdding; });
        const std::size_t remembered = m_remembered.pairs.size();
        // Of vCards that were never written the folder may be empty.
        if ((remembered > 0 && m_sides.eudora.empty()) || (total > 0 && m_sides.folder.empty())) {
            const char* const side =
                m_sides.eudora.empty() ? "Eudora's address book" : "the contacts folder";
            m_plan.report.stop = {base::Refused(
                std::string(side) + " is empty, but " + std::to_string(remembered) +
                    " contacts are remembered",
                "check the paths; to begin anew, kvsync forget contacts, and what the other side "
                "holds is copied")};
            return;
        }
        // No step deletes on both sides.
        auto& report = m_plan.report;
        const std::size_t deletions =
            report.Count(Side::kEudora, Verb::kRemove) + report.Count(Side::kFolder, Verb::kRemove);
        report.stop = sync::TooManyDeletions(deletions, "contacts would be deleted", total,
                                             m_options.maxDelete);
        if (report.stop) return;
        report.stop =
            sync::TooManyAdditions(report.Count(Side::kEudora, Verb::kAdd),
                                   "contacts would be added to Eudora", total, m_options.maxAdd);
    }

    const Sides& m_sides;
    const state::Remembered& m_remembered;
    const contacts::Stores& m_stores;
    const sync::Options& m_options;
    FreeNicknames m_nicknames;  // those in Eudora and those of this plan are taken
    std::optional<std::unordered_set<std::string>> m_keptCopies;
    bool m_isResolved = false;  // the conflict that the options name
    Plan m_plan;
};

}  // namespace

Plan MakePlan(const Sides& sides, const state::Remembered& remembered,
              const contacts::Stores& stores, const sync::Options& options) {
    return Planner(sides, remembered, stores, options).Make();
}

}  // namespace host::contactsync
