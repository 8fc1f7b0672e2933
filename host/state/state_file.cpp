#include "host/state/state_file.h"

#include <algorithm>
#include <tuple>

#include <nlohmann/json.hpp>

#include "host/base/paths.h"
#include "host/state/state_database.h"

namespace host::state {

namespace {

// One kind of row: its table, and its columns beside the scope with the members that they hold.
struct PairTable {
    using Row = RememberedPair;
    static constexpr const char* kName = "pair";
    static constexpr const char* kColumns =
        "key, eudora_id, eudora_marker, eudora_fields, folder_id, folder_marker, folder_fields,"
        " uid, beyond";
    static auto Members(auto& pair) {
        auto &eudora = pair.eudora, &folder = pair.folder;
        return std::tie(pair.key, eudora.item.id, eudora.item.marker, eudora.contact,
                        folder.item.id, folder.item.marker, folder.contact, pair.uid, pair.beyond);
    }
};

struct IntentTable {
    using Row = Intent;
    static constexpr const char* kName = "intent";
    static constexpr const char* kColumns = "old_id, new_id, folder_id";
    static auto Members(auto& intent) {
        return std::tie(intent.oldId, intent.newId, intent.folderId);
    }
};

struct MailTable {
    using Row = RememberedMail;
    static constexpr const char* kName = "mail";
    static constexpr const char* kColumns =
        "key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name,"
        " file_id";
    // The columns of a file of version 2, which is only read.
    static constexpr const char* kOldColumns =
        "key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name, x''";
    static auto Members(auto& mail) {
        return std::tie(mail.key, mail.link, mail.id, mail.marker, mail.messageId, mail.unique,
                        mail.flags, mail.size, mail.content, mail.name, mail.fileId);
    }
};

// Bytes must outlive the statement's run. A row without a key gets it from the database.
template <class Value>
void Bind(SQLite::Statement& statement, int index, const Value& value) {
    if constexpr (std::is_same_v<Value, std::string>) {
        statement.bindNoCopy(index, static_cast<const void*>(value.data()),
                             static_cast<int>(value.size()));
    } else if constexpr (std::is_same_v<Value, base::Contact>) {
        constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
        statement.bind(index, nlohmann::json(value.values).dump(-1, ' ', false, kReplace));
    } else if (const bool isKey = std::is_same_v<Value, Key>; isKey && value == Value{}) {
        statement.bind(index);
    } else {
        statement.bind(index, static_cast<std::int64_t>(value));
    }
}

template <class Value>
void Get(const SQLite::Column& column, Value& value) {
    if constexpr (std::is_same_v<Value, std::string>) {
        value.assign(static_cast<const char*>(column.getBlob()),
                     static_cast<std::size_t>(column.size()));
    } else if constexpr (std::is_same_v<Value, base::Contact>) {
        try {
            nlohmann::json::parse(column.getString()).get_to(value.values);
        } catch (const nlohmann::json::exception& error) {
            throw DamagedContent(error.what());
        }
    } else {
        value = static_cast<Value>(column.getInt64());
    }
}

template <class Table>
std::vector<typename Table::Row> LoadRows(SQLite::Database& database, const std::string& scope,
                                          const std::string& columns = Table::kColumns) {
    SQLite::Statement select(database, "SELECT " + columns + " FROM " + Table::kName +
                                           " WHERE scope = ? ORDER BY rowid");
    Bind(select, 1, scope);
    std::vector<typename Table::Row> rows;
    while (select.executeStep()) {
        int at = 0;
        std::apply([&](auto&... members) { (Get(select.getColumn(at++), members), ...); },
                   Table::Members(rows.emplace_back()));
    }
    return rows;
}

// Adds rows, or replaces those of the same key; what was added gets its key.
template <class Row, class Table>
void PutRows(SQLite::Database& database, const std::string& scope, std::vector<Row>& rows, Table) {
    const std::string columns = Table::kColumns;
    std::string marks = "?, ?";
    for (auto more = std::ranges::count(columns, ','); more > 0; --more) marks += ", ?";
    SQLite::Statement put(database, std::string("INSERT OR REPLACE INTO ") + Table::kName +
                                        "(scope, " + columns + ") VALUES(" + marks + ")");
    for (Row& row : rows) {
        put.reset();
        Bind(put, 1, scope);
        int at = 2;
        std::apply([&](const auto&... members) { (Bind(put, at++, members), ...); },
                   Table::Members(row));
        put.exec();
        if constexpr (requires { row.key; }) row.key = database.getLastInsertRowid();
    }
}

template <class... Values>
void Run(SQLite::Database& database, const char* sql, const Values&... values) {
    SQLite::Statement statement(database, sql);
    int at = 1;
    (Bind(statement, at++, values), ...);
    statement.exec();
}

void Load(SQLite::Database& database, const std::string& scope, Remembered& remembered) {
    remembered = {LoadRows<PairTable>(database, scope), LoadRows<IntentTable>(database, scope)};
}

void Load(SQLite::Database& database, const std::string& scope,
          std::vector<RememberedMail>& mails) {
    // A file of the first version, which is only read, has no mails yet.
    if (!database.tableExists("mail")) return;
    const bool isOld = VersionOf(database) < 3;
    mails =
        LoadRows<MailTable>(database, scope, isOld ? MailTable::kOldColumns : MailTable::kColumns);
}

void Save(SQLite::Database& database, const std::string& scope, MemoryChange& change) {
    PutRows(database, scope, change.put, PairTable());
    for (const Key key : change.forget) Run(database, "DELETE FROM pair WHERE key = ?", key);
    if (!change.intents) return;
    Run(database, "DELETE FROM intent WHERE scope = ?", scope);
    PutRows(database, scope, *change.intents, IntentTable());
}

void Save(SQLite::Database& database, const std::string& scope, MailMemoryChange& change) {
    for (const Key key : change.forget) Run(database, "DELETE FROM mail WHERE key = ?", key);
    PutRows(database, scope, change.put, MailTable());
    if (!change.settle) return;
    Run(database, "UPDATE mail SET link = ? WHERE scope = ? AND link = ?", MailLink::kInStep, scope,
        MailLink::kPending);
}

// One scope of the file. Without a database there is no file and nothing remembered.
template <class Content, class Change>
class Scope : public Memory<Content, Change> {
  public:
    using Opened = base::Result<std::unique_ptr<Memory<Content, Change>>>;

    static Opened Open(platform::Files& files, const std::string& path, const std::string& name,
                       bool mayWrite) {
        if (mayWrite) {
            auto made = base::MakeFolders(files, base::ParentFolder(files, path));
            if (!made) return made.Error();
        }
        auto lock = StateLock::Take(files, path, mayWrite);
        if (!lock) return lock.Error();
        auto database = OpenStateDatabase(files, path, mayWrite);
        if (!database) return database.Error();
        auto scope = std::make_unique<Scope>(*std::move(lock), path, name);
        scope->m_database = *std::move(database);
        return Opened(std::move(scope));
    }
    Scope(StateLock lock, std::string path, std::string name)
        : m_lock(std::move(lock)), m_path(std::move(path)), m_name(std::move(name)) {}

    base::Result<Content> Load() override {
        return ExplainingFaults(m_path, [&]() -> base::Result<Content> {
            Content content;
            if (m_database != nullptr) state::Load(*m_database, m_name, content);
            return content;
        });
    }
    using Memory<Content, Change>::Save;
    base::Status Save(Change& change) override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            state::Save(database, m_name, change);
        });
    }

  private:
    StateLock m_lock;
    std::unique_ptr<SQLite::Database> m_database;
    std::string m_path, m_name;
};

}  // namespace

base::Result<StateLock> StateLock::Take(platform::Files& files, const std::string& stateFile,
                                        bool mayWrite) {
    const std::string path = stateFile + ".lock";
    auto file =
        mayWrite ? files.Open(path, platform::OpenMode::kReadWriteOrCreate, platform::Share::kNone)
                 : files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    if (file) return StateLock(*std::move(file));
    if (!mayWrite && file.Error().code == platform::ErrorCode::kNotFound) return StateLock(nullptr);
    if (file.Error().code == platform::ErrorCode::kSharingViolation) {
        return base::RefusedFor(path, "another run is under way", "wait until it has ended");
    }
    return file.Error();
}

base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite) {
    return Scope<Remembered, MemoryChange>::Open(files, path, scope, mayWrite);
}

base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite) {
    return Scope<std::vector<RememberedMail>, MailMemoryChange>::Open(files, path, scope, mayWrite);
}

base::Status ForgetInBox(platform::Files& files, const std::string& path,
                         const std::string& inbox) {
    if (!files.Exists(path)) return {};
    auto database = OpenStateDatabase(files, path, true);
    if (!database) return database.Error();
    return InTransaction(database->get(), path, [&](SQLite::Database& opened) {
        Run(opened, "DELETE FROM mail WHERE substr(scope, 1, length(?1)) = ?1", inbox + '\n');
    });
}

}  // namespace host::state
