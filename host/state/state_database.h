#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <memory>
#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::state {

// The SQLite file that holds all memories. Without `mayWrite` nothing is written and a missing or
// empty file gives null; with it the file is made and brought to the present version, and nobody
// else gets at it as long as it is open. kRefused for a file that is damaged, in use, of another
// program or of a later version: the line says the way out.
base::Result<std::unique_ptr<SQLite::Database>> OpenStateDatabase(platform::Files& files,
                                                                  const std::string& path,
                                                                  bool mayWrite);

// Which version of the format the file has.
int VersionOf(SQLite::Database& database);

// What SQLite's failure means for the person who runs this.
base::Failure ExplainState(const std::string& path, const SQLite::Exception& error);
// To be thrown where the content makes no sense.
SQLite::Exception DamagedContent(const std::string& why);

// Turns an exception of SQLite into a failure. `work` gives a Result.
template <class Work>
auto ExplainingFaults(const std::string& path, const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const SQLite::Exception& error) {
        return ExplainState(path, error);
    }
}

// Runs `work` in one transaction: all of it is kept or nothing. Durable when this returns. Fails
// without a database.
base::Status InTransaction(SQLite::Database* database, const std::string& path,
                           const std::function<void(SQLite::Database&)>& work);

}  // namespace host::state
