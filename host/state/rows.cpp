#include "host/state/rows.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

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
        " file_id, lack";
    // The columns of a file of an earlier version, which is only read; by version.
    static constexpr const char* kOldColumns[] = {
        "", "",
        "key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name, x'', 0",
        "key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name,"
        " file_id, 0"};
    static auto Members(auto& mail) {
        return std::tie(mail.key, mail.link, mail.id, mail.marker, mail.messageId, mail.unique,
                        mail.flags, mail.size, mail.content, mail.name, mail.fileId, mail.lack);
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

template <class... Values>
void GetAll(SQLite::Statement& select, Values&... values) {
    int at = 0;
    (Get(select.getColumn(at++), values), ...);
}

template <class Table>
std::vector<typename Table::Row> LoadRows(SQLite::Database& database, const std::string& scope,
                                          const std::string& columns = Table::kColumns) {
    SQLite::Statement select(database, "SELECT " + columns + " FROM " + Table::kName +
                                           " WHERE scope = ? ORDER BY rowid");
    Bind(select, 1, scope);
    std::vector<typename Table::Row> rows;
    while (select.executeStep()) {
        std::apply([&](auto&... members) { GetAll(select, members...); },
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

void ForgetIdle(SQLite::Database& database, const std::string& scope) {
    Run(database, "DELETE FROM idle WHERE scope = ?", scope);
}

}  // namespace

std::vector<KnownFolder> LoadFolders(SQLite::Database& database) {
    std::vector<KnownFolder> folders;
    // A file of an earlier version, which is only read, has no such table.
    if (!database.tableExists("folder")) return folders;
    SQLite::Statement select(
        database, "SELECT key, memory, path, mark, code_page, scope FROM folder ORDER BY rowid");
    while (select.executeStep()) {
        KnownFolder& one = folders.emplace_back();
        GetAll(select, one.key, one.memory, one.path, one.mark, one.codePage, one.eudora);
    }
    return folders;
}

Key SaveFolder(SQLite::Database& database, const KnownFolder& folder) {
    Run(database,
        "INSERT OR REPLACE INTO folder(key, memory, path, mark, code_page, scope)"
        " VALUES(?, ?, ?, ?, ?, ?)",
        folder.key, folder.memory, folder.path, folder.mark, folder.codePage, folder.eudora);
    return database.getLastInsertRowid();
}

void ForgetFolder(SQLite::Database& database, Key key) {
    Run(database, "DELETE FROM folder WHERE key = ?", key);
}

void Load(SQLite::Database& database, const std::string& scope, Remembered& remembered) {
    remembered = {LoadRows<PairTable>(database, scope), LoadRows<IntentTable>(database, scope)};
}

void Load(SQLite::Database& database, const std::string& scope,
          std::vector<RememberedMail>& mails) {
    // A file of the first version, which is only read, has no mails yet.
    if (!database.tableExists("mail")) return;
    const auto version = static_cast<std::size_t>(VersionOf(database));
    const bool isOld = version < std::size(MailTable::kOldColumns);
    mails = LoadRows<MailTable>(database, scope,
                                isOld ? MailTable::kOldColumns[version] : MailTable::kColumns);
}

void Save(SQLite::Database& database, const std::string& scope, MemoryChange& change) {
    ForgetIdle(database, scope);
    PutRows(database, scope, change.put, PairTable());
    for (const Key key : change.forget) Run(database, "DELETE FROM pair WHERE key = ?", key);
    if (!change.intents) return;
    Run(database, "DELETE FROM intent WHERE scope = ?", scope);
    PutRows(database, scope, *change.intents, IntentTable());
}

void Save(SQLite::Database& database, const std::string& scope, MailMemoryChange& change) {
    ForgetIdle(database, scope);
    for (const Key key : change.forget) Run(database, "DELETE FROM mail WHERE key = ?", key);
    PutRows(database, scope, change.put, MailTable());
    if (!change.settle) return;
    Run(database, "UPDATE mail SET link = ? WHERE scope = ? AND link = ?", MailLink::kInStep, scope,
        MailLink::kPending);
}

std::string IdleReport(SQLite::Database& database, const std::string& scope,
                       const std::string& look) {
    std::string report;
    if (!database.tableExists("idle")) return report;
    SQLite::Statement select(database, "SELECT report FROM idle WHERE scope = ? AND look = ?");
    Bind(select, 1, scope);
    Bind(select, 2, look);
    if (select.executeStep()) GetAll(select, report);
    return report;
}

void KeepIdleReport(SQLite::Database& database, const std::string& scope, const std::string& look,
                    const std::string& report) {
    Run(database, "INSERT OR REPLACE INTO idle VALUES(?, ?, ?)", scope, look, report);
}

std::vector<std::string> Scopes(SQLite::Database& database) {
    std::vector<std::string> scopes;
    for (const char* table : {PairTable::kName, IntentTable::kName, MailTable::kName}) {
        if (!database.tableExists(table)) continue;
        SQLite::Statement select(database, std::string("SELECT DISTINCT scope FROM ") + table);
        while (select.executeStep()) GetAll(select, scopes.emplace_back());
    }
    return scopes;
}

void ForgetScope(SQLite::Database& database, const std::string& scope) {
    Run(database, "DELETE FROM pair WHERE scope = ?", scope);
    Run(database, "DELETE FROM intent WHERE scope = ?", scope);
    Run(database, "DELETE FROM mail WHERE scope = ?", scope);
    ForgetIdle(database, scope);
}

void ForgetFiles(SQLite::Database& database, const std::string& scope,
                 const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        Run(database, "DELETE FROM pair WHERE scope = ? AND folder_id = ?", scope, name);
        Run(database, "DELETE FROM mail WHERE scope = ? AND file = ?", scope, name);
    }
    ForgetIdle(database, scope);
}

}  // namespace host::state
