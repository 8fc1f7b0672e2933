#include "host/contactsync/execute.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace host::contactsync {

namespace {

using sync::Verb;

// How many pairs are remembered in one transaction while the folder is written.
constexpr std::size_t kBatch = 200;

// Gives the id that the contact has then; none if it is removed. An addition gets `newId`.
base::Result<std::string> Carry(const SideAction& action, contacts::ContactStore& store,
                                const std::string& newId) {
    if (action.verb == Verb::kAdd) return store.Add(newId, action.values, action.like);
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

    sync::Report Run(const std::function<base::Status()>& backup) {
        const base::Status ready = EndangersFiles() ? backup() : base::Status();
        m_report = m_plan.report;
        bool isWhole = Check(ready, "backup");
        if (!m_plan.intents.empty()) m_pending.intents = m_plan.intents;
        isWhole = isWhole && Flush() && FolderPhase() && EudoraPhase();
        if (!m_plan.intents.empty() || m_plan.dropIntents) m_pending.intents = m_plan.leftIntents;
        if (isWhole) (void)Flush();
        TellChanges();
        return std::move(m_report);
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
        if (!status) m_report.errors.push_back(what + ": " + status.Error().Message());
        return status.HasValue();
    }

    // False if the side takes no more: then none of the other steps is tried.
    bool Fail(std::size_t index, sync::Side side, const base::Failure& failure) {
        m_states[index].failed = true;
        if (failure.code != platform::ErrorCode::kNoSpace) {
            (void)Check(failure, m_plan.steps[index].name);
            return true;
        }
        std::size_t planned = 0, done = 0;
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            if (m_plan.steps[i].On(side).verb == Verb::kNone) continue;
            ++planned;
            done += m_states[i].On(side);
        }
        return Check(failure, std::to_string(done) + " of " + std::to_string(planned) +
                                  " stored, " + std::to_string(planned - done) + " left");
    }

    bool Flush() {
        if (m_pending.put.empty() && m_pending.forget.empty() && !m_pending.intents) return true;
        const auto status = m_memory.Save(m_pending);
        m_pending = {};
        return Check(status, "state");
    }

    // The report's changes become those that were made.
    void TellChanges() {
        m_report.changes.clear();
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            const Step& step = m_plan.steps[i];
            const State& state = m_states[i];
            auto told = step.Told(state.isInEudora, state.isInFolder);
            const bool isWhole = (step.eudora.verb == Verb::kNone || state.isInEudora) &&
                                 (step.folder.verb == Verb::kNone || state.isInFolder);
            m_report.undone += !isWhole;
            if (told) m_report.changes.push_back(*std::move(told));
        }
    }

    // Remembers, before they are written, whose the next vCards are.
    bool AnnounceFrom(std::size_t index) {
        state::MemoryChange change;
        std::vector<std::size_t> steps;
        for (; index < m_plan.steps.size() && steps.size() < kBatch; ++index) {
            const Step& step = m_plan.steps[index];
            if (step.folder.verb != Verb::kAdd) continue;
            contacts::StoredContact& inFolder = m_states[index].inFolder;
            inFolder.item.id = m_stores.folder.NewId();
            // What both sides get, and is with neither, is found again by its marks.
            if (step.eudora.verb != Verb::kNone) continue;
            inFolder.item.marker = kAdding;
            inFolder.contact = step.folder.values;
            change.put.push_back(
                step.Remembered({step.eudora.known, step.eudora.values, {}}, inFolder));
            steps.push_back(index);
        }
        m_announced = index;
        if (steps.empty()) return true;
        if (!Check(m_memory.Save(change), "state")) return false;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            m_states[steps[i]].key = change.put[i].key;
        }
        return true;
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
        if (step.left) {
            m_pending.put.push_back(*step.left);
            return true;
        }
        contacts::StoredContact inEudora{step.eudora.known, step.eudora.values, {}},
            inFolder{step.folder.known, step.folder.values, step.uid, step.beyond};
        if (step.folder.verb != Verb::kNone) inFolder = state.inFolder;
        if (step.eudora.verb != Verb::kNone) {
            auto stored = m_stores.eudora.Read(state.eudoraId);
            if (!stored) return Check(stored.Error(), "Eudora");
            inEudora = *std::move(stored);
        }
        m_pending.put.push_back(step.Remembered(inEudora, inFolder));
        if (state.key != 0) m_pending.put.back().key = state.key;
        return true;
    }

    // False if the folder takes no more.
    bool ChangeFolder(std::size_t index) {
        const SideAction& action = m_plan.steps[index].folder;
        const auto id = Carry(action, m_stores.folder, m_states[index].inFolder.item.id);
        if (!id) return Fail(index, sync::Side::kFolder, id.Error());
        m_states[index].isInFolder = true;
        if (action.verb == Verb::kRemove) return true;
        auto stored = ReadFolderContact(m_stores, *id);
        if (!stored) return Fail(index, sync::Side::kFolder, stored.Error());
        m_states[index].inFolder = *std::move(stored);
        return true;
    }

    bool FolderPhase() {
        std::size_t done = 0;
        for (const Verb verb : {Verb::kAdd, Verb::kNone, Verb::kChange, Verb::kRemove}) {
            for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
                const Step& step = m_plan.steps[i];
                if (step.folder.verb != verb) continue;
                m_progress.Step("writing", done++, m_plan.steps.size());
                if (verb == Verb::kAdd && i >= m_announced && !AnnounceFrom(i)) return false;
                if (verb != Verb::kAdd && step.needs && m_states[*step.needs].failed) {
                    m_states[i].failed = true;
                } else if (verb != Verb::kNone && !ChangeFolder(i)) {
                    // What was done is remembered if there is room for that.
                    (void)m_memory.Save(m_pending);
                    return false;
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
        auto id = Carry(m_plan.steps[index].eudora, m_stores.eudora, {});
        if (!id) {
            (void)Fail(index, sync::Side::kEudora, id.Error());
            return false;
        }
        m_states[index].eudoraId = *std::move(id);
        return true;
    }

    bool EudoraPhase() {
        bool isChanged = false, isWhole = true;
        for (const Verb verb : {Verb::kChange, Verb::kAdd, Verb::kRemove}) {
            for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
                if (m_plan.steps[i].eudora.verb != verb || m_states[i].failed) continue;
                isChanged = ChangeEudora(i) || isChanged;
            }
        }
        if (isChanged && !Check(m_stores.eudora.Commit(), "Eudora")) return false;
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            if (m_plan.steps[i].eudora.verb == Verb::kNone) continue;
            m_states[i].isInEudora = !m_states[i].failed;
            isWhole = isWhole && Remember(i);
        }
        return isWhole;
    }

    struct State {
        bool failed = false;
        bool isInEudora = false, isInFolder = false;  // what was done to it there is
        std::string eudoraId;                         // after its act
        // After its act. Of one that is added the id before it too.
        contacts::StoredContact inFolder;
        state::Key key = 0;  // of the pair, if it was remembered before its vCard was written

        bool On(sync::Side side) const {
            return side == sync::Side::kEudora ? isInEudora : isInFolder;
        }
    };

    const Plan& m_plan;
    const contacts::Stores& m_stores;
    state::PairMemory& m_memory;
    base::Progress& m_progress;
    sync::Report m_report;
    std::vector<State> m_states;
    std::size_t m_announced = 0;  // the vCards of the steps before it are remembered
    state::MemoryChange m_pending;
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
        const auto keep = [&](bool isStandIn) {
            const state::RememberedSide& kept = pair->*side;
            contacts.push_back({kept.item, kept.contact, pair->uid, pair->beyond, true, isStandIn});
        };
        if (pair != nullptr && isFolder) stores.folder.Expect(item.id, pair->folder.contact);
        if (pair != nullptr && !item.marker.empty() && (pair->*side).item.marker == item.marker) {
            keep(false);
            continue;
        }
        auto stored = isFolder ? ReadFolderContact(stores, item.id) : stores.eudora.Read(item.id);
        if (!stored && stored.Error().code == platform::ErrorCode::kNotRegular) {
            passedOver.push_back(stored.Error().Message());
            // A remembered contact is not taken for deleted because its file is unreadable.
            if (pair != nullptr) keep(true);
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

sync::Report Execute(const Plan& plan, const contacts::Stores& stores, state::PairMemory& memory,
                     const std::function<base::Status()>& backup, base::Progress& progress) {
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
    std::ranges::sort(sides.passedOver);
    return sides;
}

}  // namespace host::contactsync
