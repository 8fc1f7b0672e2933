#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <memory>
#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

// The state file as a database, with its versions and faults. Paths are native, in UTF-8.
namespace host::state {

// The SQLite file that holds all memories; the caller owns the open database. Without `mayWrite`
// nothing is written and a missing or empty file gives null. With it the file is made and brought
// to the present version, and no other program can use it while it is open. kRefused, with advice,
// for a file that is damaged, in use, of another program or of a later version; such a file is left
// as it is.
base::Result<std::unique_ptr<SQLite::Database>> OpenStateDatabase(platform::Files& files,
                                                                  const std::string& path,
                                                                  bool mayWrite);

// kRefused, with advice, if a page of the file is damaged. It reads all of it.
base::Status CheckWhole(SQLite::Database& database, const std::string& path);

// The version of the file's format; 0 for an empty file.
int VersionOf(SQLite::Database& database);

// A failure of SQLite in kvsync's words: kRefused with advice if the file is damaged or in use.
base::Failure ExplainState(const std::string& path, const SQLite::Exception& error);
// The exception for content that makes no sense; ExplainState calls it damaged.
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
