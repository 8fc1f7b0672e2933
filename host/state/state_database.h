#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/os/files.h"
#include "platform/os/result.h"

namespace host::state {

// The SQLite file that holds all memories. Without `mayWrite` nothing is written and a missing or
// empty file gives null; with it the file is made and brought to the present version, and nobody
// else gets at it as long as it is open. kRefused for a file that is damaged, in use, of another
// program or of a later version: the line says the way out.
platform::Result<std::unique_ptr<SQLite::Database>> OpenStateDatabase(platform::Files& files,
                                                                      const std::string& path,
                                                                      bool mayWrite);

// What a failure of SQLite means for the person who runs this.
platform::Failure ExplainState(const std::string& path, const SQLite::Exception& error);

// Runs `work` in one transaction: all of it is kept or nothing. Durable when this returns.
platform::Status InTransaction(SQLite::Database* database, const std::string& path,
                               const std::function<void(SQLite::Database&)>& work);

std::string BlobOf(const SQLite::Column& column);
// The bytes must outlive the statement's run.
void BindBlob(SQLite::Statement& statement, int index, const std::string& bytes);

}  // namespace host::state
