#include "host/contactsync/plan.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "host/contactsync/field_merge.h"
#include "host/contactsync/pairing.h"

namespace host::contactsync {

namespace {

using base::Contact;
using base::DisplayName;
using base::Field;
using contacts::StoredContact;
using state::RememberedPair;
using sync::Prefer;
using sync::Verb;

std::string NameOf(const StoredContact& stored) {
    return DisplayName(stored.contact, stored.item.id);
}

// The contact as it is.
SideAction Kept(const StoredContact& stored) {
    return {Verb::kNone, stored.item, stored.contact};
}

sync::Change::OnSide Told(const SideAction& action, const Step& step) {
    const bool isNew = action.verb == Verb::kAdd;
    return {action.verb, isNew ? DisplayName(action.values, step.name) : step.name, action.fields};
}

class Planner {
  public:
    Planner(const Sides& sides, const state::Remembered& remembered, const contacts::Stores& stores,
            const sync::Options& options)
        : m_sides(sides), m_remembered(remembered), m_stores(stores), m_options(options) {
        for (const StoredContact& stored : sides.eudora) m_taken.insert(stored.item.id);
    }

    Plan Make() {
        const Pairing pairing = FindPairs(m_sides, m_remembered, m_stores);
        for (std::size_t i = 0; i < pairing.known.size(); ++i) {
            const auto& [eudora, folder, isIntended] = pairing.known[i];
            const RememberedPair& pair = m_remembered.pairs[i];
            if (eudora && folder) {
                PlanMerge(m_sides.eudora[*eudora], m_sides.folder[*folder], &pair, isIntended);
            } else {
                PlanVanished(eudora ? &m_sides.eudora[*eudora] : nullptr,
                             folder ? &m_sides.folder[*folder] : nullptr, pair);
            }
        }
        for (const auto& [eudora, folder, isIntended] : pairing.found) {
            PlanMerge(m_sides.eudora[eudora], m_sides.folder[folder], nullptr, isIntended);
        }
        for (const std::size_t i : pairing.onlyEudora) AddToFolder(m_sides.eudora[i], 0);
        for (const std::size_t i : pairing.onlyFolder) AddToEudora(m_sides.folder[i], 0);
        m_plan.report.richer = static_cast<std::size_t>(std::ranges::count_if(
            m_sides.folder, [](const StoredContact& stored) { return stored.beyond > 0; }));
        m_plan.report.leftAlone = m_sides.passedOver;
        for (const Step& step : m_plan.steps) {
            if (step.eudora.verb == Verb::kNone && step.folder.verb == Verb::kNone) continue;
            m_plan.report.changes.push_back({step.name,
                                             Told(step.eudora, step),
                                             Told(step.folder, step),
                                             step.renamedTo,
                                             {},
                                             {}});
        }
        m_plan.dropIntents = !m_remembered.intents.empty();
        CheckLimits();
        return std::move(m_plan);
    }

  private:
    // The nickname itself if it is free, else with the first number that makes it so. Numbers of as
    // many digits share a stem, and what was taken under one is not tried again.
    std::string FreeNickname(const std::string& base) {
        if (m_taken.insert(base).second) return base;
        for (int first = 1;; first *= 10) {
            const std::string start = m_stores.eudora.Nickname(base, std::to_string(first));
            int& next = m_nextNumber.try_emplace(start, first).first->second;
            while (next < first * 10) {
                std::string candidate = m_stores.eudora.Nickname(base, std::to_string(next++));
                if (m_taken.insert(candidate).second) return candidate;
            }
        }
    }

    // False, with a notice, if Eudora's rules refuse what the step does there.
    bool IsAccepted(const Step& step) {
        const auto& [verb, known, values, fields, like] = step.eudora;
        const auto reason =
            m_stores.eudora.Refusal(values, verb == Verb::kAdd ? base::NonEmpty(values) : fields);
        if (reason) m_plan.report.refused.push_back({step.name, *reason});
        return !reason;
    }

    void AddToFolder(const StoredContact& eudora, state::Key key) {
        m_plan.steps.push_back({key,
                                NameOf(eudora),
                                Kept(eudora),
                                {Verb::kAdd, {}, m_stores.folder.Hold(eudora.contact)}});
    }

    void AddToEudora(const StoredContact& folder, state::Key key) {
        Step step{
            key,          NameOf(folder), {Verb::kAdd, {}, m_stores.eudora.Hold(folder.contact)},
            Kept(folder), folder.uid,     folder.beyond};
        std::string& nickname = step.eudora.values[Field::kNickname];
        if (nickname.empty()) {
            Contact named;
            named[Field::kNickname] = DisplayName(step.eudora.values, "contact");
            nickname = m_stores.eudora.Hold(named)[Field::kNickname];
        }
        if (!IsAccepted(step)) return;
        nickname = FreeNickname(nickname);
        m_plan.intents.push_back({"", nickname, folder.item.id});
        m_plan.steps.push_back(std::move(step));
    }

    // Whether the run settles by itself what both sides changed, and keeps both.
    bool HasNoFavourite() const {
        return m_options.prefer == Prefer::kBoth || m_options.prefer == Prefer::kNewer;
    }

    // One side of a pair is gone, or both.
    void PlanVanished(const StoredContact* eudora, const StoredContact* folder,
                      const RememberedPair& pair) {
        const bool inFolder = folder != nullptr;
        const StoredContact* const left = inFolder ? folder : eudora;
        Step step{pair.key, DisplayName(pair.eudora.contact, pair.eudora.item.id)};
        step.forget = true;
        const bool isChanged =
            left != nullptr && left->contact != (inFolder ? pair.folder : pair.eudora).contact;
        if (!isChanged || m_options.prefer == (inFolder ? Prefer::kEudora : Prefer::kFolder)) {
            SideAction& action = inFolder ? step.folder : step.eudora;
            if (left != nullptr) action = {Verb::kRemove, left->item, left->contact};
            m_plan.steps.push_back(std::move(step));
            return;
        }
        if (HasNoFavourite()) {
            m_plan.report.conflicts.push_back(
                {step.name, inFolder ? "deleted in Eudora and changed in the folder: kept"
                                     : "deleted in the folder and changed in Eudora: kept"});
        }
        inFolder ? AddToEudora(*folder, pair.key) : AddToFolder(*eudora, pair.key);
    }

    // Whether a marked copy of that content is there already, from a run that was cut off or failed
    // in part.
    bool IsAlreadyKept(const Contact& copy) {
        if (!m_keptCopies) {
            m_keptCopies.emplace();
            for (const auto* side : {&m_sides.eudora, &m_sides.folder}) {
                for (const auto& [item, contact, uid, beyond, isPerson] : *side) {
                    if (contact[Field::kNickname].find("(older)") == std::string::npos) continue;
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
        if (!name.empty()) name += " (older)";
        const Contact held = m_stores.eudora.Hold(copy);
        if (!IsAlreadyKept(held)) {
            Step step{0, NameOf(older), {Verb::kAdd, {}, held}};
            std::string& nickname = step.eudora.values[Field::kNickname];
            if (nickname.empty()) nickname = DisplayName(held, "contact");
            nickname = m_stores.eudora.Nickname(nickname, " (older)");
            if (!IsAccepted(step)) return false;
            nickname = copy[Field::kNickname] = FreeNickname(nickname);
            step.folder = {Verb::kAdd, {}, copy, {}, folderIsOlder ? older.item.id : ""};
            m_plan.steps.push_back(std::move(step));
        }
        m_plan.report.conflicts.push_back(
            {NameOf(older), "changed on both sides (" + fields + "): both kept, the older one of " +
                                (folderIsOlder ? "the folder" : "Eudora") + " marked"});
        return true;
    }

    bool FolderIsNewer(const StoredContact& eudora, const StoredContact& folder) const {
        const auto inEudora = m_stores.eudora.ChangedAt(eudora.item);
        const auto inFolder = m_stores.folder.ChangedAt(folder.item);
        return inEudora && inFolder && *inFolder > *inEudora;
    }

    // Settles what both sides changed; false if it cannot be settled.
    bool Resolve(Merge& merge, const StoredContact& eudora, const StoredContact& folder) {
        if (merge.conflicts.IsEmpty()) return true;
        std::string fields;
        for (const Field field : base::kAllFields) {
            if (!merge.conflicts.Has(field)) continue;
            fields.append(fields.empty() ? "" : ", ").append(base::FieldName(field));
        }
        const bool folderWins =
            HasNoFavourite() ? FolderIsNewer(eudora, folder) : m_options.prefer == Prefer::kFolder;
        if (m_options.prefer == Prefer::kBoth &&
            !KeepOlder(folderWins ? eudora : folder, !folderWins, fields)) {
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
        Merge merge(eudora.contact, folder.contact, pair, isIntended, m_stores);
        const std::size_t stepsBefore = m_plan.steps.size();
        const std::size_t conflictsBefore = m_plan.report.conflicts.size();
        if (!Resolve(merge, eudora, folder)) return;
        const auto action = [](const StoredContact& stored, const Contact& values,
                               base::FieldSet fields) -> SideAction {
            return {fields.IsEmpty() ? Verb::kNone : Verb::kChange, stored.item, values, fields};
        };
        Step step{
            pair != nullptr ? pair->key : 0,
            DisplayName(pair != nullptr ? pair->eudora.contact : eudora.contact, eudora.item.id),
            action(eudora, merge.eudora, merge.toEudora),
            action(folder, merge.folder, merge.toFolder),
            folder.uid,
            folder.beyond};
        // The older one is gone once the pair changes: its copy comes first.
        if (m_plan.steps.size() > stepsBefore) step.needs = stepsBefore;
        if (step.eudora.verb == Verb::kChange && !IsAccepted(step)) {
            // Values that Eudora refuses leave both sides as they are, without a copy.
            m_plan.steps.resize(stepsBefore);
            m_plan.report.conflicts.resize(conflictsBefore);
            return;
        }
        if (merge.toEudora.Has(Field::kNickname)) {
            std::string& nickname = step.eudora.values[Field::kNickname];
            step.renamedTo = nickname = FreeNickname(nickname);
            m_plan.intents.push_back({eudora.item.id, nickname, folder.item.id});
        } else if (merge.toFolder.Has(Field::kNickname) && pair != nullptr) {
            step.renamedTo = merge.folder[Field::kNickname];
        }
        m_plan.steps.push_back(std::move(step));
    }

    void CheckLimits() {
        const unsigned long total = m_remembered.pairs.size();
        if (total > 0 && (m_sides.eudora.empty() || m_sides.folder.empty())) {
            const char* const side =
                m_sides.eudora.empty() ? "Eudora's address book" : "the contacts folder";
            m_plan.report.stop = {base::Refused(
                std::string(side) + " is empty, but " + std::to_string(total) +
                    " contacts are remembered",
                "check the paths; to begin anew, kvsync forget contacts, and what the other side "
                "holds is copied")};
            return;
        }
        // No step deletes on both sides.
        auto& report = m_plan.report;
        const std::size_t deletions = report.Count(sync::Side::kEudora, Verb::kRemove) +
                                      report.Count(sync::Side::kFolder, Verb::kRemove);
        report.stop = sync::TooManyDeletions(deletions, "contacts would be deleted", total,
                                             m_options.maxDelete);
        if (report.stop) return;
        report.stop =
            sync::TooManyAdditions(report.Count(sync::Side::kEudora, Verb::kAdd),
                                   "contacts would be added to Eudora", total, m_options.maxAdd);
    }

    const Sides& m_sides;
    const state::Remembered& m_remembered;
    const contacts::Stores& m_stores;
    const sync::Options& m_options;
    std::unordered_set<std::string> m_taken;            // nicknames in Eudora, now or by this plan
    std::unordered_map<std::string, int> m_nextNumber;  // by the nickname with the first number
    std::optional<std::unordered_set<std::string>> m_keptCopies;
    Plan m_plan;
};

}  // namespace

Plan MakePlan(const Sides& sides, const state::Remembered& remembered,
              const contacts::Stores& stores, const sync::Options& options) {
    return Planner(sides, remembered, stores, options).Make();
}

}  // namespace host::contactsync
