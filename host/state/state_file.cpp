#include "host/state/state_file.h"

#include <tuple>

#include <nlohmann/json.hpp>

#include "host/base/failure.h"
#include "host/base/folders.h"
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
    // Of a file of version 2 that is only read.
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

// Adds rows, or replaces those of the same key.
template <class Table>
class Putting {
  public:
    Putting(SQLite::Database& database, const std::string& scope)
        : m_scope(scope),
          m_put(database, std::string("INSERT OR REPLACE INTO ") + Table::kName + "(scope, " +
                              Table::kColumns + ") VALUES(?" + Marks() + ")") {}

    void Put(const typename Table::Row& row) {
        m_put.reset();
        Bind(m_put, 1, m_scope);
        int at = 2;
        std::apply([&](const auto&... members) { (Bind(m_put, at++, members), ...); },
                   Table::Members(row));
        m_put.exec();
    }

  private:
    static std::string Marks() {
        typename Table::Row row;
        std::string marks;
        for (auto i = std::tuple_size_v<decltype(Table::Members(row))>; i > 0; --i) marks += ",?";
        return marks;
    }

    const std::string& m_scope;
    SQLite::Statement m_put;
};

void ForgetRows(SQLite::Database& database, const char* table, const std::vector<Key>& keys) {
    SQLite::Statement forget(database, std::string("DELETE FROM ") + table + " WHERE key = ?");
    for (const Key key : keys) {
        forget.reset();
        Bind(forget, 1, key);
        forget.exec();
    }
}

// One scope of the file. Without a database there is no file and nothing remembered.
struct Scope {
    StateLock lock;
    std::unique_ptr<SQLite::Database> database;
    std::string path, name;
};

class Pairs : public PairMemory {
  public:
    explicit Pairs(Scope scope) : m_scope(std::move(scope)) {}

    base::Result<Remembered> Load() override {
        return ExplainingFaults(m_scope.path, [&]() -> base::Result<Remembered> {
            if (m_scope.database == nullptr) return Remembered{};
            return Remembered{LoadRows<PairTable>(*m_scope.database, m_scope.name),
                              LoadRows<IntentTable>(*m_scope.database, m_scope.name)};
        });
    }

    base::Status Save(const MemoryChange& change) override {
        return InTransaction(m_scope.database.get(), m_scope.path, [&](SQLite::Database& database) {
            Putting<PairTable> pairs(database, m_scope.name);
            for (const RememberedPair& pair : change.put) pairs.Put(pair);
            ForgetRows(database, PairTable::kName, change.forget);
            if (!change.intents) return;
            SQLite::Statement clear(database, "DELETE FROM intent WHERE scope = ?");
            Bind(clear, 1, m_scope.name);
            clear.exec();
            Putting<IntentTable> intents(database, m_scope.name);
            for (const Intent& intent : *change.intents) intents.Put(intent);
        });
    }

  private:
    Scope m_scope;
};

class Mails : public MailMemory {
  public:
    explicit Mails(Scope scope) : m_scope(std::move(scope)) {}

    base::Result<std::vector<RememberedMail>> Load() override {
        using Rows = std::vector<RememberedMail>;
        return ExplainingFaults(m_scope.path, [&]() -> base::Result<Rows> {
            // A file of the first version, which is only read, has no mails yet.
            if (m_scope.database == nullptr || !m_scope.database->tableExists("mail")) {
                return Rows{};
            }
            return LoadRows<MailTable>(
                *m_scope.database, m_scope.name,
                VersionOf(*m_scope.database) < 3 ? MailTable::kOldColumns : MailTable::kColumns);
        });
    }

    base::Status Save(MailMemoryChange& change) override {
        return InTransaction(m_scope.database.get(), m_scope.path, [&](SQLite::Database& database) {
            ForgetRows(database, MailTable::kName, change.forget);
            Putting<MailTable> mails(database, m_scope.name);
            for (RememberedMail& mail : change.put) {
                mails.Put(mail);
                if (mail.key == 0) mail.key = database.getLastInsertRowid();
            }
            if (!change.settle) return;
            SQLite::Statement settle(database,
                                     "UPDATE mail SET link = ? WHERE scope = ? AND link = ?");
            Bind(settle, 1, MailLink::kInStep);
            Bind(settle, 2, m_scope.name);
            Bind(settle, 3, MailLink::kPending);
            settle.exec();
        });
    }
    using MailMemory::Save;

  private:
    Scope m_scope;
};

template <class Memory, class Interface>
base::Result<std::unique_ptr<Interface>> OpenScope(platform::Files& files, const std::string& path,
                                                   const std::string& scope, bool mayWrite) {
    if (mayWrite) {
        auto made = base::MakeFolders(files, base::ParentFolder(files, path));
        if (!made) return made.Error();
    }
    auto lock = StateLock::Take(files, path, mayWrite);
    if (!lock) return lock.Error();
    auto database = OpenStateDatabase(files, path, mayWrite);
    if (!database) return database.Error();
    return std::unique_ptr<Interface>(
        std::make_unique<Memory>(Scope{*std::move(lock), *std::move(database), path, scope}));
}

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
    return OpenScope<Pairs, PairMemory>(files, path, scope, mayWrite);
}

base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite) {
    return OpenScope<Mails, MailMemory>(files, path, scope, mayWrite);
}

base::Status ForgetInBox(platform::Files& files, const std::string& path,
                         const std::string& inbox) {
    if (!files.Exists(path)) return {};
    auto database = OpenStateDatabase(files, path, true);
    if (!database) return database.Error();
    return InTransaction(database->get(), path, [&](SQLite::Database& opened) {
        SQLite::Statement forget(opened,
                                 "DELETE FROM mail WHERE substr(scope, 1, length(?1)) = ?1");
        const std::string start = inbox + '\n';
        Bind(forget, 1, start);
        forget.exec();
    });
}

}  // namespace host::state
