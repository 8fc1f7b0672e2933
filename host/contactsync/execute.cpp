#include "host/contactsync/execute.h"

#include <optional>
#include <unordered_map>

namespace host::contactsync {

namespace {

using sync::Verb;

// How many pairs are remembered in one transaction while the folder is written.
constexpr std::size_t kBatch = 200;

// Gives the id that the contact has then; none if it is removed.
base::Result<std::string> Carry(const SideAction& action, contacts::ContactStore& store) {
    if (action.verb == Verb::kAdd) return store.Add(action.values, action.like);
    if (action.verb == Verb::kChange) {
        return store.Change(action.known, action.values, action.fields);
    }
    auto removed = store.Remove(action.known);
    if (!removed) return removed.Error();
    return std::string();
}

class Execution {
  public:
    Execution(const Plan& plan, const contacts::Stores& stores, state::PairMemory& memory,
              base::Progress& progress)
        : m_plan(plan),
          m_stores(stores),
          m_memory(memory),
          m_progress(progress),
          m_states(plan.steps.size()) {}

    std::vector<std::string> Run(const std::function<base::Status()>& backup) {
        bool isWhole = !EndangersFiles() || Check(backup(), "backup");
        if (!m_plan.intents.empty()) m_pending.intents = m_plan.intents;
        isWhole = isWhole && Flush() && FolderPhase() && EudoraPhase();
        if (!m_plan.intents.empty() || m_plan.dropIntents) m_pending.intents.emplace();
        if (isWhole) (void)Flush();
        return std::move(m_errors);
    }

  private:
    // A vCard that is added endangers none.
    bool EndangersFiles() const {
        using sync::Side;
        const sync::Report& report = m_plan.report;
        return report.Changes(Side::kEudora) || report.Count(Side::kFolder, Verb::kChange) > 0 ||
               report.Count(Side::kFolder, Verb::kRemove) > 0;
    }

    // Each gives false, with a line in the errors, after a failure that ends the run.
    bool Check(const base::Status& status, const std::string& what) {
        if (!status) m_errors.push_back(what + ": " + status.Error().Message());
        return status.HasValue();
    }

    void Fail(std::size_t index, const base::Failure& failure) {
        m_states[index].failed = true;
        (void)Check(failure, m_plan.steps[index].name);
    }

    bool Flush() {
        if (m_pending.put.empty() && m_pending.forget.empty() && !m_pending.intents) return true;
        const auto status = m_memory.Save(m_pending);
        m_pending = {};
        return Check(status, "state");
    }

    // Notes the pair as both sides hold it now.
    bool Remember(std::size_t index) {
        const Step& step = m_plan.steps[index];
        const State& state = m_states[index];
        if (state.failed) return true;
        if (step.forget) {
            m_pending.forget.push_back(step.key);
            return true;
        }
        state::RememberedPair pair{step.key,
                                   {step.eudora.known, step.eudora.values},
                                   {step.folder.known, step.folder.values},
                                   step.uid,
                                   step.beyond};
        if (step.folder.verb != Verb::kNone) {
            const contacts::StoredContact& stored = state.inFolder;
            pair.folder = {stored.item, stored.contact};
            pair.uid = stored.uid;
            pair.beyond = stored.beyond;
        }
        if (step.eudora.verb != Verb::kNone) {
            const auto stored = m_stores.eudora.Read(state.eudoraId);
            if (!stored) return Check(stored.Error(), "Eudora");
            pair.eudora = {stored->item, stored->contact};
        }
        m_pending.put.push_back(std::move(pair));
        return true;
    }

    void ChangeFolder(std::size_t index) {
        const SideAction& action = m_plan.steps[index].folder;
        const auto id = Carry(action, m_stores.folder);
        if (!id) return Fail(index, id.Error());
        if (action.verb == Verb::kRemove) return;
        auto stored = ReadFolderContact(m_stores, *id);
        if (!stored) return Fail(index, stored.Error());
        m_states[index].inFolder = *std::move(stored);
    }

    bool FolderPhase() {
        std::size_t done = 0;
        for (const Verb verb : {Verb::kAdd, Verb::kNone, Verb::kChange, Verb::kRemove}) {
            for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
                const Step& step = m_plan.steps[i];
                if (step.folder.verb != verb) continue;
                m_progress.Step("writing", done++, m_plan.steps.size());
                if (verb != Verb::kAdd && step.needs && m_states[*step.needs].failed) {
                    m_states[i].failed = true;
                } else if (verb != Verb::kNone) {
                    ChangeFolder(i);
                }
                if (step.eudora.verb != Verb::kNone) continue;
                if (!Remember(i)) return false;
                if (m_pending.put.size() + m_pending.forget.size() >= kBatch && !Flush())
                    return false;
            }
        }
        return Flush();
    }

    // False if the step failed.
    bool ChangeEudora(std::size_t index) {
        auto id = Carry(m_plan.steps[index].eudora, m_stores.eudora);
        if (!id) {
            Fail(index, id.Error());
            return false;
        }
        m_states[index].eudoraId = *std::move(id);
        return true;
    }

    bool EudoraPhase() {
        bool isChanged = false;
        for (const Verb verb : {Verb::kChange, Verb::kAdd, Verb::kRemove}) {
            for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
                if (m_plan.steps[i].eudora.verb != verb || m_states[i].failed) continue;
                isChanged = ChangeEudora(i) || isChanged;
            }
        }
        if (isChanged && !Check(m_stores.eudora.Commit(), "Eudora")) return false;
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            if (m_plan.steps[i].eudora.verb != Verb::kNone && !Remember(i)) return false;
        }
        return true;
    }

    struct State {
        bool failed = false;
        std::string eudoraId;              // after its act
        contacts::StoredContact inFolder;  // after its act
    };

    const Plan& m_plan;
    const contacts::Stores& m_stores;
    state::PairMemory& m_memory;
    base::Progress& m_progress;
    std::vector<State> m_states;
    state::MemoryChange m_pending;
    std::vector<std::string> m_errors;
};

using contacts::StoredContact;
using state::RememberedPair;

// One side as it is now, added to `contacts`.
base::Status LoadSide(const contacts::Stores& stores, state::RememberedSide RememberedPair::*side,
                      const state::Remembered& remembered, base::Progress& progress,
                      std::vector<StoredContact>& contacts, std::vector<std::string>& passedOver) {
    const bool isFolder = side == &RememberedPair::folder;
    std::unordered_map<std::string_view, const RememberedPair*> known;
    for (const RememberedPair& pair : remembered.pairs) known[(pair.*side).item.id] = &pair;
    auto items = (isFolder ? stores.folder : stores.eudora).List();
    if (!items) return items.Error();
    contacts.reserve(items->size());
    std::optional<base::Failure> firstFailure;
    std::size_t failures = 0;
    for (std::size_t i = 0; i < items->size(); ++i) {
        progress.Step(isFolder ? "reading the vCards" : "reading Eudora's contacts", i,
                      items->size());
        base::StoreItem& item = (*items)[i];
        const auto found = known.find(item.id);
        const RememberedPair* const pair = found != known.end() ? found->second : nullptr;
        const auto keep = [&] {
            const state::RememberedSide& kept = pair->*side;
            contacts.push_back({kept.item, kept.contact, pair->uid, pair->beyond, true});
        };
        if (pair != nullptr && (pair->*side).item.marker == item.marker) {
            keep();
            continue;
        }
        auto stored = isFolder ? ReadFolderContact(stores, item.id) : stores.eudora.Read(item.id);
        if (!stored && stored.Error().code == platform::ErrorCode::kNotRegular) {
            passedOver.push_back(stored.Error().Message());
            // A remembered contact is not taken for deleted because its file is unreadable.
            if (pair != nullptr) keep();
        } else if (!stored) {
            if (!firstFailure) firstFailure = stored.Error();
            ++failures;
        } else if (stored->isPerson) {
            contacts.push_back(*std::move(stored));
        }
    }
    if (!firstFailure) return {};
    if (failures > 1) {
        base::Failure& first = *firstFailure;
        std::string& last = first.code             ? first.thing
                            : first.advice.empty() ? first.what
                                                   : first.advice;
        last += " (and " + std::to_string(failures - 1) + " more like it)";
    }
    return *firstFailure;
}

}  // namespace

std::vector<std::string> Execute(const Plan& plan, const contacts::Stores& stores,
                                 state::PairMemory& memory,
                                 const std::function<base::Status()>& backup,
                                 base::Progress& progress) {
    return Execution(plan, stores, memory, progress).Run(backup);
}

base::Result<contacts::StoredContact> ReadFolderContact(const contacts::Stores& stores,
                                                        const std::string& id) {
    auto stored = stores.folder.Read(id);
    if (stored) stored->beyond += stores.eudora.Hold(stored->contact) != stored->contact;
    return stored;
}

base::Result<Sides> LoadSides(const contacts::Stores& stores, const state::Remembered& remembered,
                              base::Progress& progress) {
    Sides sides;
    auto status = LoadSide(stores, &RememberedPair::eudora, remembered, progress, sides.eudora,
                           sides.passedOver);
    if (status) {
        status = LoadSide(stores, &RememberedPair::folder, remembered, progress, sides.folder,
                          sides.passedOver);
    }
    if (!status) return status.Error();
    return sides;
}

}  // namespace host::contactsync
