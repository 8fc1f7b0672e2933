#include "host/contactsync/plan.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "host/contactsync/field_merge.h"
#include "host/contactsync/pairing.h"

namespace host::contactsync {

namespace {

using sync::Verb;

sync::Change::OnSide Told(const SideAction& action, const Step& step) {
    const bool isNew = action.verb == Verb::kAdd;
    return {action.verb, isNew ? base::DisplayName(action.values, step.name) : step.name,
            action.fields};
}

class Planner {
  public:
    Planner(const Sides& sides, const state::Remembered& remembered, const contacts::Stores& stores,
            const sync::Options& options)
        : m_sides(sides), m_remembered(remembered), m_stores(stores), m_options(options) {
        for (const contacts::StoredContact& stored : sides.eudora) m_taken.insert(stored.item.id);
    }

    Plan Make();

  private:
    void PlanKnown(const Pairing::Known& known, const state::RememberedPair& pair);
    void PlanMerge(const contacts::StoredContact& eudora, const contacts::StoredContact& folder,
                   const state::RememberedPair* pair, bool isIntended);
    void PlanVanished(const contacts::StoredContact* eudora, const contacts::StoredContact* folder,
                      const state::RememberedPair& pair);
    bool Resolve(Merge& merge, const contacts::StoredContact& eudora,
                 const contacts::StoredContact& folder);
    bool KeepOlder(const contacts::StoredContact& older, bool folderIsOlder,
                   const std::string& fields);
    void AddToFolder(const contacts::StoredContact& eudora, std::int64_t key);
    void AddToEudora(const contacts::StoredContact& folder, std::int64_t key);
    bool FinishEudora(SideAction& action, const std::string& name);
    std::string FreeNickname(const std::string& base);
    bool AlreadyKept(const base::Contact& copy);
    bool FolderIsNewer(const base::StoreItem& eudora, const base::StoreItem& folder) const;
    void CheckLimits();

    const Sides& m_sides;
    const state::Remembered& m_remembered;
    const contacts::Stores& m_stores;
    const sync::Options& m_options;
    Pairing m_pairing;
    std::unordered_set<std::string> m_taken;            // nicknames in Eudora, now or by this plan
    std::unordered_map<std::string, int> m_nextNumber;  // by the nickname with the first number
    std::optional<std::unordered_set<std::string>> m_keptCopies;
    Plan m_plan;
};

// The nickname itself if it is free, else with the first number that makes it so. Numbers of as
// many digits share a stem, and what was taken under one is not tried again.
std::string Planner::FreeNickname(const std::string& base) {
    if (m_taken.insert(base).second) return base;
    for (int first = 1;; first *= 10) {
        int& next =
            m_nextNumber.try_emplace(m_stores.eudora.Nickname(base, std::to_string(first)), first)
                .first->second;
        while (next < first * 10) {
            std::string candidate = m_stores.eudora.Nickname(base, std::to_string(next++));
            if (m_taken.insert(candidate).second) return candidate;
        }
    }
}

// False, with a notice, if Eudora's rules refuse the action.
bool Planner::FinishEudora(SideAction& action, const std::string& name) {
    const base::FieldSet shown =
        action.verb == Verb::kAdd ? base::NonEmpty(action.values) : action.fields;
    const auto reason = m_stores.eudora.Refusal(action.values, shown);
    if (reason) m_plan.report.refused.push_back({name, *reason});
    return !reason;
}

void Planner::AddToFolder(const contacts::StoredContact& eudora, std::int64_t key) {
    Step step;
    step.key = key;
    step.eudora = {Verb::kNone, eudora.item, eudora.contact, {}, {}};
    step.folder = {Verb::kAdd, {}, m_stores.folder.Hold(eudora.contact), {}, {}};
    step.name = base::DisplayName(eudora.contact, eudora.item.id);
    m_plan.steps.push_back(std::move(step));
}

void Planner::AddToEudora(const contacts::StoredContact& folder, std::int64_t key) {
    Step step;
    step.key = key;
    step.folder = {Verb::kNone, folder.item, folder.contact, {}, {}};
    step.uid = folder.uid;
    step.beyond = folder.beyond;
    step.name = base::DisplayName(folder.contact, folder.item.id);
    step.eudora = {Verb::kAdd, {}, m_stores.eudora.Hold(folder.contact), {}, {}};
    std::string& nickname = step.eudora.values[base::Field::kNickname];
    if (nickname.empty()) {
        base::Contact named;
        named[base::Field::kNickname] = base::DisplayName(step.eudora.values, "contact");
        nickname = m_stores.eudora.Hold(named)[base::Field::kNickname];
    }
    if (!FinishEudora(step.eudora, step.name)) return;
    nickname = FreeNickname(nickname);
    m_plan.intents.push_back({"", nickname, folder.item.id});
    m_plan.steps.push_back(std::move(step));
}

// One side of a pair is gone, or both.
void Planner::PlanVanished(const contacts::StoredContact* eudora,
                           const contacts::StoredContact* folder,
                           const state::RememberedPair& pair) {
    const bool inFolder = folder != nullptr;
    const contacts::StoredContact* const left = inFolder ? folder : eudora;
    Step step;
    step.key = pair.key;
    step.forget = true;
    step.name = base::DisplayName(pair.eudora.contact, pair.eudora.item.id);
    const bool isChanged =
        left != nullptr && left->contact != (inFolder ? pair.folder : pair.eudora).contact;
    const bool deletionWins =
        m_options.prefer == (inFolder ? sync::Prefer::kEudora : sync::Prefer::kFolder);
    if (!isChanged || deletionWins) {
        SideAction& action = inFolder ? step.folder : step.eudora;
        if (left != nullptr) action = {Verb::kRemove, left->item, left->contact, {}, {}};
        m_plan.steps.push_back(std::move(step));
        return;
    }
    if (m_options.prefer == sync::Prefer::kBoth || m_options.prefer == sync::Prefer::kNewer) {
        m_plan.report.conflicts.push_back(
            {step.name, inFolder ? "deleted in Eudora and changed in the folder: kept"
                                 : "deleted in the folder and changed in Eudora: kept"});
    }
    inFolder ? AddToEudora(*folder, pair.key) : AddToFolder(*eudora, pair.key);
}

// Whether a marked copy of that content is there already, from a run that was cut off or failed
// in part.
bool Planner::AlreadyKept(const base::Contact& copy) {
    if (!m_keptCopies) {
        m_keptCopies.emplace();
        for (const auto* side : {&m_sides.eudora, &m_sides.folder}) {
            for (const contacts::StoredContact& stored : *side) {
                if (stored.contact[base::Field::kNickname].find("(older)") == std::string::npos)
                    continue;
                m_keptCopies->insert(base::BeyondNickname(m_stores.eudora.Hold(stored.contact)));
            }
        }
    }
    return m_keptCopies->contains(base::BeyondNickname(copy));
}

// Adds a marked copy of the older contact to both sides. False if Eudora refuses it.
bool Planner::KeepOlder(const contacts::StoredContact& older, bool folderIsOlder,
                        const std::string& fields) {
    Step step;
    step.name = base::DisplayName(older.contact, older.item.id);
    base::Contact copy = older.contact;
    std::string& name = copy[base::Field::kName];
    if (!name.empty()) name += " (older)";
    const base::Contact held = m_stores.eudora.Hold(copy);
    if (!AlreadyKept(held)) {
        step.eudora = {Verb::kAdd, {}, held, {}, {}};
        std::string base = held[base::Field::kNickname];
        if (base.empty()) base = base::DisplayName(held, "contact");
        base = m_stores.eudora.Nickname(base, " (older)");
        step.eudora.values[base::Field::kNickname] = base;
        if (!FinishEudora(step.eudora, step.name)) return false;
        base = FreeNickname(base);
        step.eudora.values[base::Field::kNickname] = copy[base::Field::kNickname] = base;
        step.folder = {Verb::kAdd, {}, copy, {}, folderIsOlder ? older.item.id : std::string()};
        m_plan.steps.push_back(std::move(step));
    }
    m_plan.report.conflicts.push_back(
        {base::DisplayName(older.contact, older.item.id),
         "changed on both sides (" + fields + "): both kept, the older " +
             (folderIsOlder ? "one of the folder" : "one of Eudora") + " marked"});
    return true;
}

bool Planner::FolderIsNewer(const base::StoreItem& eudora, const base::StoreItem& folder) const {
    const auto inEudora = m_stores.eudora.ChangedAt(eudora);
    const auto inFolder = m_stores.folder.ChangedAt(folder);
    return inEudora && inFolder && *inFolder > *inEudora;
}

// Settles what both sides changed; false if it cannot be settled.
bool Planner::Resolve(Merge& merge, const contacts::StoredContact& eudora,
                      const contacts::StoredContact& folder) {
    if (merge.conflicts.IsEmpty()) return true;
    std::string fields;
    for (base::Field field : base::kAllFields) {
        if (!merge.conflicts.Has(field)) continue;
        fields.append(fields.empty() ? "" : ", ").append(base::FieldName(field));
    }
    bool folderWins = m_options.prefer == sync::Prefer::kFolder;
    if (m_options.prefer == sync::Prefer::kBoth || m_options.prefer == sync::Prefer::kNewer) {
        folderWins = FolderIsNewer(eudora.item, folder.item);
    }
    if (m_options.prefer == sync::Prefer::kBoth) {
        const bool isKept =
            folderWins ? KeepOlder(eudora, false, fields) : KeepOlder(folder, true, fields);
        if (!isKept) return false;
    }
    SettleConflicts(merge, folderWins, m_stores);
    return true;
}

void Planner::PlanMerge(const contacts::StoredContact& eudora,
                        const contacts::StoredContact& folder, const state::RememberedPair* pair,
                        bool isIntended) {
    if (pair != nullptr && pair->eudora.item.id == eudora.item.id &&
        pair->eudora.item.marker == eudora.item.marker && pair->folder.item.id == folder.item.id &&
        pair->folder.item.marker == folder.item.marker) {
        return;  // neither side changed at all
    }
    Merge merge = MergeFields(eudora.contact, folder.contact, pair, isIntended, m_stores);
    Step step;
    step.key = pair != nullptr ? pair->key : 0;
    step.name =
        base::DisplayName(pair != nullptr ? pair->eudora.contact : eudora.contact, eudora.item.id);
    const std::size_t stepsBefore = m_plan.steps.size();
    const std::size_t conflictsBefore = m_plan.report.conflicts.size();
    if (!Resolve(merge, eudora, folder)) return;
    // The older one is gone once the pair changes: its copy comes first.
    if (m_plan.steps.size() > stepsBefore) step.needs = stepsBefore;
    step.uid = folder.uid;
    step.beyond = folder.beyond;
    const auto action = [](const contacts::StoredContact& stored, const base::Contact& values,
                           base::FieldSet fields) {
        return SideAction{
            fields.IsEmpty() ? Verb::kNone : Verb::kChange, stored.item, values, fields, {}};
    };
    step.eudora = action(eudora, merge.eudora, merge.toEudora);
    step.folder = action(folder, merge.folder, merge.toFolder);
    if (step.eudora.verb == Verb::kChange && !FinishEudora(step.eudora, step.name)) {
        // What Eudora refuses stays as it is on both sides, without a copy.
        m_plan.steps.resize(stepsBefore);
        m_plan.report.conflicts.resize(conflictsBefore);
        return;
    }
    if (merge.toEudora.Has(base::Field::kNickname)) {
        std::string& nickname = step.eudora.values[base::Field::kNickname];
        nickname = FreeNickname(nickname);
        step.renamedTo = nickname;
        m_plan.intents.push_back({eudora.item.id, nickname, folder.item.id});
    } else if (merge.toFolder.Has(base::Field::kNickname) && pair != nullptr) {
        step.renamedTo = merge.folder[base::Field::kNickname];
    }
    m_plan.steps.push_back(std::move(step));
}

void Planner::PlanKnown(const Pairing::Known& known, const state::RememberedPair& pair) {
    const contacts::StoredContact* eudora = known.eudora ? &m_sides.eudora[*known.eudora] : nullptr;
    const contacts::StoredContact* folder = known.folder ? &m_sides.folder[*known.folder] : nullptr;
    if (eudora != nullptr && folder != nullptr) {
        PlanMerge(*eudora, *folder, &pair, known.isIntended);
    } else {
        PlanVanished(eudora, folder, pair);
    }
}

void Planner::CheckLimits() {
    const unsigned long total = m_remembered.pairs.size();
    if (total > 0 && (m_sides.eudora.empty() || m_sides.folder.empty())) {
        const char* side = m_sides.eudora.empty() ? "Eudora's address book" : "the contacts folder";
        m_plan.stop = std::string(side) + " is empty, but " + std::to_string(total) +
                      " contacts are remembered: check the paths; to begin anew, move the state "
                      "file away, and what the other side holds is copied";
        return;
    }
    // No step deletes on both sides.
    const std::size_t deletions = m_plan.report.Count(sync::Side::kEudora, Verb::kRemove) +
                                  m_plan.report.Count(sync::Side::kFolder, Verb::kRemove);
    m_plan.stop =
        sync::TooManyDeletions(deletions, "contacts would be deleted", total, m_options.maxDelete);
}

Plan Planner::Make() {
    m_pairing = FindPairs(m_sides, m_remembered, m_stores);
    for (std::size_t i = 0; i < m_pairing.known.size(); ++i) {
        PlanKnown(m_pairing.known[i], m_remembered.pairs[i]);
    }
    for (const Pairing::Found& found : m_pairing.found) {
        PlanMerge(m_sides.eudora[found.eudora], m_sides.folder[found.folder], nullptr,
                  found.isIntended);
    }
    for (const std::size_t i : m_pairing.onlyEudora) AddToFolder(m_sides.eudora[i], 0);
    for (const std::size_t i : m_pairing.onlyFolder) AddToEudora(m_sides.folder[i], 0);
    m_plan.report.richer = static_cast<std::size_t>(std::ranges::count_if(
        m_sides.folder, [](const contacts::StoredContact& stored) { return stored.beyond > 0; }));
    m_plan.report.leftAlone = m_sides.passedOver;
    for (const Step& step : m_plan.steps) {
        if (step.eudora.verb == Verb::kNone && step.folder.verb == Verb::kNone) continue;
        m_plan.report.changes.push_back(
            {step.name, Told(step.eudora, step), Told(step.folder, step), step.renamedTo, {}, {}});
    }
    m_plan.dropIntents = !m_remembered.intents.empty();
    CheckLimits();
    return std::move(m_plan);
}

}  // namespace

Plan MakePlan(const Sides& sides, const state::Remembered& remembered,
              const contacts::Stores& stores, const sync::Options& options) {
    return Planner(sides, remembered, stores, options).Make();
}

}  // namespace host::contactsync
