#pragma once

#include <memory>
#include <string>

#include "host/state/pair_memory.h"
#include "platform/os/files.h"

namespace SQLite {
class Database;
}

namespace host::state {

// Keeps a second run away from the state file for as long as it lives, also one on another
// program's part; a killed run holds it no longer.
class StateLock {
  public:
    // kRefused, naming the file, if another run holds it. `mayWrite` false makes no file: then a
    // state file without a lock file counts as free.
    static platform::Result<StateLock> Take(platform::Files& files, const std::string& stateFile,
                                            bool mayWrite);

  private:
    explicit StateLock(std::unique_ptr<platform::File> file) : m_file(std::move(file)) {}
    std::unique_ptr<platform::File> m_file;
};

// The memory in one SQLite file. A file holds the pairs of any number of `scope`s: of each address
// book with each folder.
class StateFile : public PairMemory {
  public:
    // Without `mayWrite` nothing is written and a missing file counts as an empty one; with it the
    // file is made. kRefused for a file that is damaged, of another program or of a later version:
    // the line says the way out. Such a file is left as it is.
    static platform::Result<std::unique_ptr<StateFile>> Open(platform::Files& files,
                                                             const std::string& path,
                                                             const std::string& scope,
                                                             bool mayWrite);
    ~StateFile() override;

    platform::Result<Remembered> Load() override;
    platform::Status Save(const MemoryChange& change) override;

  private:
    StateFile(std::unique_ptr<SQLite::Database> database, std::string path, std::string scope);

    std::unique_ptr<SQLite::Database> m_database;  // null: no file, nothing remembered
    std::string m_path, m_scope;
};

}  // namespace host::state
