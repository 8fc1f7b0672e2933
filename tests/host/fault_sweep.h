#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/state/memory.h"
#include "platform/testing/faulty_files.h"

namespace host::testing {

using platform::testing::Fault;

// Plays a run again and again, in which the n-th operation on files or memory fails, is torn, or is
// the last one before a kill, until no operation is left that has not met its fault. `play` gives
// whether its files met it.
template <class Play>
void ForEveryFault(const Play& play) {
    for (const Fault fault : {Fault::kFail, Fault::kTornWrite, Fault::kKill}) {
        bool fired = true;
        for (int n = 1; fired && !::testing::Test::HasFatalFailure(); ++n) {
            SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) + " at operation " +
                         std::to_string(n));
            fired = play(fault, n);
        }
    }
}

// What is remembered, in memory. Saves count as operations of the files that meet faults.
template <class Row>
class MemoryRows {
  public:
    explicit MemoryRows(platform::testing::FaultyFiles& files) : m_files(files) {}

    std::vector<Row> rows;
    int saves = 0;

    base::Status Save(std::vector<Row>& put, const std::vector<state::Key>& forget) {
        if (m_files.Strikes()) return m_files.Injected("state");
        ++saves;
        for (const state::Key key : forget) Forget(key);
        for (Row& row : put) {
            Forget(row.key);
            if (row.key == 0) row.key = ++m_keys;
            rows.push_back(row);
        }
        return {};
    }

  private:
    void Forget(state::Key key) {
        std::erase_if(rows, [&](const Row& row) { return row.key == key; });
    }

    platform::testing::FaultyFiles& m_files;
    state::Key m_keys = 0;
};

}  // namespace host::testing
