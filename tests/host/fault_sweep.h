#pragma once

#include <vector>

#include "host/state/memory.h"
#include "tests/support/fault_sweep.h"

namespace host::testing {

using test::Fault;
using test::ForEveryFault;

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
