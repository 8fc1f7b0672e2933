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
    sync::Options options;

    SyncWorld() {
        options.prefer = sync::Prefer::kBoth;
        options.maxDelete = sync::Limit{1000, false};
    }

    base::Status Strike(const std::string& what) {
        return files.Strikes() ? files.Injected(what) : base::Status();
    }
};

template <class Row>
class MemoryRows {
  public:
    explicit MemoryRows(SyncWorld& world) : m_world(world) {}

    std::vector<Row> rows;

  protected:
    base::Status Keep(std::vector<Row>& put, const std::vector<state::Key>& forget) {
        if (auto struck = m_world.Strike("state"); !struck) return struck;
        for (const state::Key key : forget) Drop(key);
        for (Row& row : put) {
            Drop(row.key);
            if (row.key == 0) row.key = ++m_keys;
            rows.push_back(row);
        }
        return {};
    }

  private:
    void Drop(state::Key key) {
        std::erase_if(rows, [&](const Row& row) { return row.key == key; });
    }

    SyncWorld& m_world;
    state::Key m_keys = 0;
};

}  // namespace host::testing
