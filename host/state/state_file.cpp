#include "host/state/state_file.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include <nlohmann/json.hpp>

#include "host/module/exit_code.h"
#include "host/state/state_schema.h"

namespace host {

namespace {

using platform::ErrorCode;

// What a failure of SQLite means for the person who runs this.
platform::Failure Explain(const std::string& path, const SQLite::Exception& error) {
    switch (error.getErrorCode()) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
            return DamagedState(path, error.what());
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return Refused(path + ": in use by another program; try again when it has ended");
        case SQLITE_FULL:
            return platform::Failure{ErrorCode::kNoSpace, path};
        default:
            return Failed(path + ": " + error.what());
    }
}

std::string ToText(const Contact& contact) {
    return nlohmann::json(contact.values)
        .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

Contact FromText(const std::string& text) {
    Contact contact;
    contact.values = nlohmann::json::parse(text).get<decltype(contact.values)>();
    return contact;
}

std::string Blob(const SQLite::Column& column) {
    return {static_cast<const char*>(column.getBlob()), static_cast<std::size_t>(column.size())};
}

void BindBlob(SQLite::Statement& statement, int index, const std::string& bytes) {
    statement.bind(index, static_cast<const void*>(bytes.data()), static_cast<int>(bytes.size()));
}

void PutPair(SQLite::Statement& statement, const RememberedPair& pair, const std::string& scope) {
    statement.reset();
    statement.clearBindings();
    if (pair.key != 0) statement.bind(1, pair.key);
    BindBlob(statement, 2, scope);
    BindBlob(statement, 3, pair.eudora.item.id);
    BindBlob(statement, 4, pair.eudora.item.marker);
    statement.bind(5, ToText(pair.eudora.contact));
    BindBlob(statement, 6, pair.folder.item.id);
    BindBlob(statement, 7, pair.folder.item.marker);
    statement.bind(8, ToText(pair.folder.contact));
    BindBlob(statement, 9, pair.uid);
    statement.bind(10, pair.beyond);
    statement.exec();
}

}  // namespace

struct StateFile::Connection {
    SQLite::Database database;
};

StateFile::StateFile(std::unique_ptr<Connection> connection, std::string path, std::string scope)
    : m_connection(std::move(connection)), m_path(std::move(path)), m_scope(std::move(scope)) {}

StateFile::~StateFile() = default;

platform::Result<StateLock> StateLock::Take(platform::Files& files, const std::string& stateFile,
                                            bool mayWrite) {
    const std::string path = stateFile + ".lock";
    auto file =
        mayWrite ? files.Open(path, platform::OpenMode::kReadWriteOrCreate, platform::Share::kNone)
                 : files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    if (file) return StateLock(*std::move(file));
    if (!mayWrite && file.Error().code == ErrorCode::kNotFound) return StateLock(nullptr);
    if (file.Error().code == ErrorCode::kSharingViolation) {
        return Refused(path + ": another run is under way; wait until it has ended");
    }
    return file.Error();
}

platform::Result<std::unique_ptr<StateFile>> StateFile::Open(platform::Files& files,
                                                             const std::string& path,
                                                             const std::string& scope,
                                                             bool mayWrite) {
    auto info = files.Stat(path);
    if (!info && info.Error().code != ErrorCode::kNotFound) return info.Error();
    if (info && info->isFolder) return Refused(path + ": is a folder; name a file for the state");
    if (!mayWrite && (!info || info->size == 0)) {
        return std::unique_ptr<StateFile>(new StateFile(nullptr, path, scope));
    }
    if (!mayWrite && files.Exists(path + "-journal")) {
        return Refused(path +
                       ": a run was cut off; `kvsync sync contacts` once brings it in order");
    }
    const int flags =
        mayWrite ? SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE : SQLite::OPEN_READONLY;
    try {
        auto connection = std::unique_ptr<Connection>(new Connection{{path, flags, 5000}});
        if (auto status = CheckState(connection->database, path, mayWrite); !status) {
            return status.Error();
        }
        return std::unique_ptr<StateFile>(new StateFile(std::move(connection), path, scope));
    } catch (const SQLite::Exception& error) {
        return Explain(path, error);
    }
}

platform::Result<Remembered> StateFile::Load() {
    Remembered remembered;
    if (m_connection == nullptr) return remembered;
    try {
        SQLite::Statement pairs(m_connection->database, kSelectPairs);
        BindBlob(pairs, 1, m_scope);
        while (pairs.executeStep()) {
            RememberedPair pair;
            pair.key = pairs.getColumn(0).getInt64();
            pair.eudora.item = {Blob(pairs.getColumn(1)), Blob(pairs.getColumn(2))};
            pair.eudora.contact = FromText(pairs.getColumn(3).getString());
            pair.folder.item = {Blob(pairs.getColumn(4)), Blob(pairs.getColumn(5))};
            pair.folder.contact = FromText(pairs.getColumn(6).getString());
            pair.uid = Blob(pairs.getColumn(7));
            pair.beyond = pairs.getColumn(8).getInt();
            remembered.pairs.push_back(std::move(pair));
        }
        SQLite::Statement intents(m_connection->database, kSelectIntents);
        BindBlob(intents, 1, m_scope);
        while (intents.executeStep()) {
            remembered.intents.push_back({Blob(intents.getColumn(0)), Blob(intents.getColumn(1)),
                                          Blob(intents.getColumn(2))});
        }
    } catch (const SQLite::Exception& error) {
        return Explain(m_path, error);
    } catch (const nlohmann::json::exception& error) {
        return DamagedState(m_path, error.what());
    }
    return remembered;
}

platform::Status StateFile::Save(const MemoryChange& change) {
    if (m_connection == nullptr) return Failed(m_path + ": opened for reading only");
    try {
        SQLite::Database& database = m_connection->database;
        SQLite::Transaction transaction(database);
        SQLite::Statement put(database, kPutPair), forget(database, kForgetPair);
        for (const RememberedPair& pair : change.put) PutPair(put, pair, m_scope);
        for (const std::int64_t key : change.forget) {
            forget.reset();
            forget.bind(1, key);
            forget.exec();
        }
        if (change.intents) {
            SQLite::Statement clear(database, kClearIntents), add(database, kPutIntent);
            BindBlob(clear, 1, m_scope);
            clear.exec();
            for (const Intent& intent : *change.intents) {
                add.reset();
                BindBlob(add, 1, m_scope);
                BindBlob(add, 2, intent.oldId);
                BindBlob(add, 3, intent.newId);
                BindBlob(add, 4, intent.folderId);
                add.exec();
            }
        }
        transaction.commit();
    } catch (const SQLite::Exception& error) {
        return Explain(m_path, error);
    }
    return {};
}

}  // namespace host
