#pragma once

#include <vector>

#include "host/base/progress.h"
#include "host/state/memory.h"
#include "host/sync/rules.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/support/fault_sweep.h"

namespace host::testing {

// What both syncs run on. Saves of the memory, and what stands for Eudora, count as operations of
// the files that meet faults.
struct SyncWorld {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    base::Progress progress{clock, nullptr};
    sync::Options options{.prefer = sync::Prefer::kBoth, .maxDelete = sync::Limit{1000, false}};

    base::Status Strike(const std::string& what) {
        return files.Strikes() ? files.Injected(what) : base::Status();
    }
};

template <class Content, class Change>
class MemoryOf : public state::Memory<Content, Change> {
  public:
    explicit MemoryOf(SyncWorld& world) : m_world(world) {}

    decltype(Change::put) rows;
    std::vector<state::Intent> intents;  // of contacts

    base::Result<Content> Load() override {
        if constexpr (kIsOfPairs) return Content{rows, intents};
        if constexpr (!kIsOfPairs) return rows;
    }
    base::Status Save(Change& change) override {
        if (auto struck = m_world.Strike("state"); !struck) return struck;
        for (const state::Key key : change.forget) Drop(key);
        for (auto& row : change.put) {
            Drop(row.key);
            if (row.key == 0) row.key = ++m_keys;
            rows.push_back(row);
        }
        if constexpr (kIsOfPairs) {
            intents = change.intents.value_or(intents);
        } else if (change.settle) {
            for (auto& row : rows) {
                if (row.link == state::MailLink::kPending) row.link = state::MailLink::kInStep;
            }
        }
        return {};
    }

  private:
    static constexpr bool kIsOfPairs = std::is_same_v<Content, state::Remembered>;

    void Drop(state::Key key) {
        std::erase_if(rows, [&](const auto& row) { return row.key == key; });
    }

    SyncWorld& m_world;
    state::Key m_keys = 0;
};

}  // namespace host::testing
