#include "host/state/state_database.h"

#include <sqlite3.h>

#include "host/base/exit_code.h"
#include "host/state/cut_off_state.h"
#include "host/state/state_schema.h"

namespace host::state {

using platform::ErrorCode;

namespace {

platform::Result<std::unique_ptr<SQLite::Database>> CheckedCopy(platform::Files& files,
                                                                const std::string& path) {
    auto copy = ReadCutOffState(files, path);
    if (!copy || *copy == nullptr) return copy;
    if (HoldsNothing(**copy)) return std::unique_ptr<SQLite::Database>();
    if (auto status = CheckState(**copy, path, false); !status) return status.Error();
    return copy;
}

// SQLite would wait for the other end of a pipe.
platform::Status CheckKinds(platform::Files& files, const std::string& path) {
    for (const char* end : {"", "-journal", "-wal"}) {
        const std::string name = path + end;
        if (files.IsFree(name)) continue;
        const auto file = files.Open(name, platform::OpenMode::kRead, platform::Share::kReadWrite);
        if (!file && file.Error().code == ErrorCode::kNotFound) {
            return platform::Failure{ErrorCode::kNotRegular, name + " (a link that leads nowhere)"};
        }
        if (!file) return file.Error();
    }
    return {};
}

}  // namespace

platform::Failure ExplainState(const std::string& path, const SQLite::Exception& error) {
    switch (error.getErrorCode()) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
            return DamagedState(path, error.what());
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return base::Refused(path + ": in use by another program; try again when it has ended");
        case SQLITE_FULL:
            return platform::Failure{ErrorCode::kNoSpace, path};
        default:
            return base::Failed(path + ": " + error.what());
    }
}

platform::Result<std::unique_ptr<SQLite::Database>> OpenStateDatabase(platform::Files& files,
                                                                      const std::string& path,
                                                                      bool mayWrite) {
    auto info = files.Stat(path);
    if (!info && info.Error().code != ErrorCode::kNotFound) return info.Error();
    if (info && info->isFolder)
        return base::Refused(path + ": is a folder; name a file for the state");
    if (auto status = CheckKinds(files, path); !status) return status.Error();
    if (!mayWrite && (!info || info->size == 0)) return std::unique_ptr<SQLite::Database>();
    if (!info) {
        // SQLite would make a file that everybody may read.
        const auto made = files.Open(path, platform::OpenMode::kCreateNew, platform::Share::kNone);
        if (!made) return made.Error();
    }
    const int flags = mayWrite ? SQLite::OPEN_READWRITE : SQLite::OPEN_READONLY;
    try {
        if (!mayWrite && IsCutOff(files, path)) return CheckedCopy(files, path);
        auto database = std::make_unique<SQLite::Database>(path, flags, 5000);
        if (mayWrite) {
            // From here to its end the run has the file to itself: what it does can be remembered.
            database->exec("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
        } else if (HoldsNothing(*database)) {
            return std::unique_ptr<SQLite::Database>();
        }
        if (auto status = CheckState(*database, path, mayWrite); !status) return status.Error();
        return database;
    } catch (const SQLite::Exception& error) {
        return ExplainState(path, error);
    }
}

platform::Status InTransaction(SQLite::Database* database, const std::string& path,
                               const std::function<void(SQLite::Database&)>& work) {
    if (database == nullptr) return base::Failed(path + ": opened for reading only");
    try {
        SQLite::Transaction transaction(*database);
        work(*database);
        transaction.commit();
    } catch (const SQLite::Exception& error) {
        return ExplainState(path, error);
    }
    return {};
}

std::string BlobOf(const SQLite::Column& column) {
    return {static_cast<const char*>(column.getBlob()), static_cast<std::size_t>(column.size())};
}

void BindBlob(SQLite::Statement& statement, int index, const std::string& bytes) {
    statement.bindNoCopy(index, static_cast<const void*>(bytes.data()),
                         static_cast<int>(bytes.size()));
}

}  // namespace host::state
