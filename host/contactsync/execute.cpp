#include "host/contactsync/execute.h"

#include "host/contactsync/load_sides.h"

namespace host::contactsync {

namespace {

using sync::Verb;

// How many pairs are remembered in one transaction while the folder is written.
constexpr std::size_t kBatch = 200;

class Execution {
  public:
    Execution(const Plan& plan, const contacts::Stores& stores, state::PairMemory& memory,
              base::Progress& progress)
        : m_plan(plan),
          m_stores(stores),
          m_memory(memory),
          m_progress(progress),
          m_states(plan.steps.size()) {}

    std::vector<std::string> Run(const std::function<base::Status()>& backup);

  private:
    struct State {
        bool failed = false;
        std::string eudoraId;              // after its act
        contacts::StoredContact inFolder;  // after its act
    };

    bool Check(const base::Status& status, const std::string& what);
    void Fail(std::size_t index, const base::Failure& failure);
    void ChangeFolder(std::size_t index);
    bool ChangeEudora(std::size_t index);
    base::Status EudoraPhase();
    base::Status Remember(std::size_t index);
    base::Status Flush();

    const Plan& m_plan;
    const contacts::Stores& m_stores;
    state::PairMemory& m_memory;
    base::Progress& m_progress;
    std::vector<State> m_states;
    state::MemoryChange m_pending;
    std::vector<std::string> m_errors;
};

bool Execution::Check(const base::Status& status, const std::string& what) {
    if (status) return true;
    m_errors.push_back(what + status.Error().Message());
    return false;
}

void Execution::Fail(std::size_t index, const base::Failure& failure) {
    m_states[index].failed = true;
    (void)Check(failure, m_plan.steps[index].name + ": ");
}

base::Status Execution::Flush() {
    if (m_pending.put.empty() && m_pending.forget.empty() && !m_pending.intents) return {};
    auto status = m_memory.Save(m_pending);
    m_pending = {};
    return status;
}

void Execution::ChangeFolder(std::size_t index) {
    const Step& step = m_plan.steps[index];
    const SideAction& action = step.folder;
    State& state = m_states[index];
    if (action.verb == Verb::kRemove) {
        if (auto status = m_stores.folder.Remove(action.known); !status)
            Fail(index, status.Error());
        return;
    }
    auto id = action.verb == Verb::kAdd
                  ? m_stores.folder.Add(action.values, action.like)
                  : m_stores.folder.Change(action.known, action.values, action.fields);
    if (!id) return Fail(index, id.Error());
    auto stored = ReadFolderContact(m_stores, *id);
    if (!stored) return Fail(index, stored.Error());
    state.inFolder = *std::move(stored);
}

// False if the step failed.
bool Execution::ChangeEudora(std::size_t index) {
    const SideAction& action = m_plan.steps[index].eudora;
    if (action.verb == Verb::kRemove) {
        auto status = m_stores.eudora.Remove(action.known);
        if (!status) Fail(index, status.Error());
        return status.HasValue();
    }
    auto id = action.verb == Verb::kAdd
                  ? m_stores.eudora.Add(action.values, "")
                  : m_stores.eudora.Change(action.known, action.values, action.fields);
    if (!id) {
        Fail(index, id.Error());
        return false;
    }
    m_states[index].eudoraId = *std::move(id);
    return true;
}

base::Status Execution::EudoraPhase() {
    bool isChanged = false;
    for (const Verb verb : {Verb::kChange, Verb::kAdd, Verb::kRemove}) {
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            if (m_plan.steps[i].eudora.verb != verb || m_states[i].failed) continue;
            isChanged = ChangeEudora(i) || isChanged;
        }
    }
    return isChanged ? m_stores.eudora.Commit() : base::Status{};
}

// Notes the pair as both sides hold it now.
base::Status Execution::Remember(std::size_t index) {
    const Step& step = m_plan.steps[index];
    const State& state = m_states[index];
    if (state.failed) return {};
    if (step.forget) {
        m_pending.forget.push_back(step.key);
        return {};
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
        auto stored = m_stores.eudora.Read(state.eudoraId);
        if (!stored) return stored.Error();
        pair.eudora = {stored->item, stored->contact};
    }
    m_pending.put.push_back(std::move(pair));
    return {};
}

std::vector<std::string> Execution::Run(const std::function<base::Status()>& backup) {
    if (m_plan.report.Changes(sync::Side::kEudora)) {
        if (!Check(backup(), "backup: ")) return std::move(m_errors);
    }
    if (!m_plan.intents.empty()) {
        m_pending.intents = m_plan.intents;
        if (!Check(Flush(), "state: ")) return std::move(m_errors);
    }
    std::size_t done = 0;
    for (const Verb verb : {Verb::kAdd, Verb::kNone, Verb::kChange, Verb::kRemove}) {
        for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
            const Step& step = m_plan.steps[i];
            if (step.folder.verb != verb) continue;
            m_progress.Step("writing", done++, m_plan.steps.size());
            if (verb == Verb::kAdd || !step.needs || !m_states[*step.needs].failed) {
                if (verb != Verb::kNone) ChangeFolder(i);
            } else {
                m_states[i].failed = true;
            }
            if (step.eudora.verb != Verb::kNone) continue;
            if (!Check(Remember(i), "state: ")) return std::move(m_errors);
            if (m_pending.put.size() + m_pending.forget.size() < kBatch) continue;
            if (!Check(Flush(), "state: ")) return std::move(m_errors);
        }
    }
    if (!Check(Flush(), "state: ")) return std::move(m_errors);
    if (!Check(EudoraPhase(), "Eudora: ")) return std::move(m_errors);
    for (std::size_t i = 0; i < m_plan.steps.size(); ++i) {
        if (m_plan.steps[i].eudora.verb == Verb::kNone) continue;
        if (!Check(Remember(i), "Eudora: ")) return std::move(m_errors);
    }
    if (!m_plan.intents.empty() || m_plan.dropIntents) m_pending.intents.emplace();
    (void)Check(Flush(), "state: ");
    return std::move(m_errors);
}

}  // namespace

std::vector<std::string> Execute(const Plan& plan, const contacts::Stores& stores,
                                 state::PairMemory& memory,
                                 const std::function<base::Status()>& backup,
                                 base::Progress& progress) {
    return Execution(plan, stores, memory, progress).Run(backup);
}

}  // namespace host::contactsync
