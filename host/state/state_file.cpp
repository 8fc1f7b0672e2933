#include "host/state/state_file.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <nlohmann/json.hpp>

#include "host/base/exit_code.h"
#include "host/state/state_database.h"
#include "host/state/state_schema.h"

namespace host::state {

namespace {

using platform::ErrorCode;

std::string ToText(const base::Contact& contact) {
    return nlohmann::json(contact.values)
        .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

base::Contact FromText(const std::string& text) {
    base::Contact contact;
    contact.values = nlohmann::json::parse(text).get<decltype(contact.values)>();
    return contact;
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

StateFile::StateFile(std::unique_ptr<SQLite::Database> database, std::string path,
                     std::string scope)
    : m_database(std::move(database)), m_path(std::move(path)), m_scope(std::move(scope)) {}

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
        return base::Refused(path + ": another run is under way; wait until it has ended");
    }
    return file.Error();
}

platform::Result<std::unique_ptr<StateFile>> StateFile::Open(platform::Files& files,
                                                             const std::string& path,
                                                             const std::string& scope,
                                                             bool mayWrite) {
    auto database = OpenStateDatabase(files, path, mayWrite);
    if (!database) return database.Error();
    return std::unique_ptr<StateFile>(new StateFile(*std::move(database), path, scope));
}

platform::Result<Remembered> StateFile::Load() {
    Remembered remembered;
    if (m_database == nullptr) return remembered;
    try {
        SQLite::Statement pairs(*m_database, kSelectPairs);
        BindBlob(pairs, 1, m_scope);
        while (pairs.executeStep()) {
            RememberedPair pair;
            pair.key = pairs.getColumn(0).getInt64();
            pair.eudora.item = {BlobOf(pairs.getColumn(1)), BlobOf(pairs.getColumn(2))};
            pair.eudora.contact = FromText(pairs.getColumn(3).getString());
            pair.folder.item = {BlobOf(pairs.getColumn(4)), BlobOf(pairs.getColumn(5))};
            pair.folder.contact = FromText(pairs.getColumn(6).getString());
            pair.uid = BlobOf(pairs.getColumn(7));
            pair.beyond = pairs.getColumn(8).getInt();
            remembered.pairs.push_back(std::move(pair));
        }
        SQLite::Statement intents(*m_database, kSelectIntents);
        BindBlob(intents, 1, m_scope);
        while (intents.executeStep()) {
            remembered.intents.push_back({BlobOf(intents.getColumn(0)),
                                          BlobOf(intents.getColumn(1)),
                                          BlobOf(intents.getColumn(2))});
        }
    } catch (const SQLite::Exception& error) {
        return ExplainState(m_path, error);
    } catch (const nlohmann::json::exception& error) {
        return DamagedState(m_path, error.what());
    }
    return remembered;
}

platform::Status StateFile::Save(const MemoryChange& change) {
    return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
        SQLite::Statement put(database, kPutPair), forget(database, kForgetPair);
        for (const RememberedPair& pair : change.put) PutPair(put, pair, m_scope);
        for (const std::int64_t key : change.forget) {
            forget.reset();
            forget.bind(1, key);
            forget.exec();
        }
        if (!change.intents) return;
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
    });
}

}  // namespace host::state
