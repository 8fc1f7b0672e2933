#include "host/state/state_file.h"

#include <algorithm>
#include <filesystem>
#include <thread>
#include <tuple>

#include <nlohmann/json.hpp>

#include "host/base/paths.h"
#include "host/base/uuid.h"
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

// A folder that is kept in step with the nickname file or the in-box that is its scope.
struct KnownFolder {
    Key key = 0;
    std::string memory;  // the scope of its rows
    std::string path;    // where it was last, links followed
    std::string mark;    // empty if none can be written there
    unsigned codePage = 0;
    bool operator==(const KnownFolder&) const = default;
};

struct FolderTable {
    using Row = KnownFolder;
    static constexpr const char* kName = "folder";
    static constexpr const char* kColumns = "key, memory, path, mark, code_page";
    static auto Members(auto& folder) {
        return std::tie(folder.key, folder.memory, folder.path, folder.mark, folder.codePage);
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

void ForgetIdle(SQLite::Database& database, const std::string& scope) {
    Run(database, "DELETE FROM idle WHERE scope = ?", scope);
}

void ForgetRows(SQLite::Database& database, const std::string& scope) {
    Run(database, "DELETE FROM pair WHERE scope = ?", scope);
    Run(database, "DELETE FROM intent WHERE scope = ?", scope);
    Run(database, "DELETE FROM mail WHERE scope = ?", scope);
    ForgetIdle(database, scope);
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

// What tells two names of one thing: its real path, or the name if there is none.
std::string Identity(platform::Files& files, const std::string& path) {
    const auto real = files.RealPath(path);
    return real ? *real : path;
}

// The scopes of rows whose first line names Eudora's side.
std::vector<std::string> ScopesOf(platform::Files& files, SQLite::Database& database,
                                  const std::string& eudora) {
    std::vector<std::string> scopes;
    for (const char* table : {PairTable::kName, IntentTable::kName, MailTable::kName}) {
        if (!database.tableExists(table)) continue;
        SQLite::Statement select(database, std::string("SELECT DISTINCT scope FROM ") + table);
        while (select.executeStep()) {
            std::string scope;
            Get(select.getColumn(0), scope);
            const bool isIt = Identity(files, scope.substr(0, scope.find('\n'))) == eudora;
            if (isIt) scopes.push_back(std::move(scope));
        }
    }
    return scopes;
}

// Whether the folder holds most of the files that are remembered in that scope.
bool HoldsRemembered(platform::Files& files, const std::string& folder, SQLite::Database& database,
                     const std::string& scope) {
    const auto pairs = LoadRows<PairTable>(database, scope);
    const auto there = std::ranges::count_if(pairs, [&](const RememberedPair& pair) {
        return files.Exists(folder + files.Separator() + pair.folder.item.id);
    });
    return 2 * there > std::ssize(pairs);
}

// Repeats `take` until it is not refused for another run, at most so long.
template <class Take>
auto Waiting(std::chrono::seconds most, const Take& take) -> decltype(take()) {
    const auto end = std::chrono::steady_clock::now() + most;
    while (true) {
        auto taken = take();
        if (taken || taken.Error().exit != base::ExitCode::kRefused ||
            std::chrono::steady_clock::now() >= end) {
            return taken;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

// What Open holds of the two sides beside the database.
struct Locks {
    Lock state;
    std::optional<Lock> eudora;
    FolderMark folder;
};

base::Result<Locks> TakeLocks(platform::Files& files, const std::string& path, const Sides& sides,
                              bool mayWrite) {
    auto state = LockState(files, path, mayWrite);
    if (!state) return state.Error();
    std::optional<Lock> eudora;
    if (!sides.eudoraLock.empty()) {
        auto taken = Lock::Take(files, sides.eudoraLock, mayWrite);
        if (!taken) return taken.Error();
        eudora.emplace(*std::move(taken));
    }
    auto folder = FolderMark::Take(files, sides.folder, mayWrite);
    if (!folder) return folder.Error();
    return Locks{*std::move(state), std::move(eudora), *std::move(folder)};
}

// The memory of two sides. Without a database there is no file and nothing remembered.
template <class Content, class Change>
class Scope : public Memory<Content, Change> {
  public:
    using Opened = base::Result<std::unique_ptr<Memory<Content, Change>>>;

    static Opened Open(platform::Files& files, const std::string& path, const Sides& sides,
                       bool mayWrite) {
        if (mayWrite) {
            for (const std::string* file : {&path, &sides.eudoraLock}) {
                auto made = base::MakeFolders(files, base::ParentFolder(files, *file));
                if (!made) return made.Error();
            }
        }
        auto locks = Waiting(sides.wait, [&] { return TakeLocks(files, path, sides, mayWrite); });
        if (!locks) return locks.Error();
        auto database = OpenStateDatabase(files, path, mayWrite);
        if (!database) return database.Error();
        auto scope = std::make_unique<Scope>(files, *std::move(locks), path, sides);
        scope->m_database = *std::move(database);
        auto found = ExplainingFaults(path, [&] { return scope->Find(); });
        if (!found) return found.Error();
        return Opened(std::move(scope));
    }
    Scope(platform::Files& files, Locks locks, std::string path, const Sides& sides)
        : m_files(files),
          m_locks(std::move(locks)),
          m_path(std::move(path)),
          m_eudora(Identity(files, sides.eudora)),
          m_sides(sides) {}

    base::Result<Content> Load() override {
        return ExplainingFaults(m_path, [&]() -> base::Result<Content> {
            Content content;
            if (m_database == nullptr) return content;
            if (auto whole = CheckWhole(*m_database, m_path); !whole) return whole.Error();
            state::Load(*m_database, m_known.memory, content);
            return content;
        });
    }
    using Memory<Content, Change>::Save;
    base::Status Save(Change& change) override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            state::Save(database, m_known.memory, change);
            ForgetIdle(database, m_known.memory);
        });
    }

    unsigned CodePage() const override { return m_known.codePage; }
    bool IsCurrent() const override { return m_known == Present(); }
    base::Status Begin(Change change) override {
        KnownFolder present = Present();
        if (present.mark != m_locks.folder.Id()) {
            auto marked = m_locks.folder.Set(present.mark);
            // From a folder that nobody may write a sync can still read.
            if (!marked && marked.Error().code != platform::ErrorCode::kAccessDenied) return marked;
            if (!marked) present.mark.clear();
        }
        std::vector<KnownFolder> rows{std::move(present)};
        auto saved = InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            PutRows(database, m_eudora, rows, FolderTable());
            state::Save(database, rows[0].memory, change);
            ForgetIdle(database, rows[0].memory);
        });
        if (saved) m_known = std::move(rows[0]);
        return saved;
    }
    std::string IdleReport(const std::string& look) override {
        return ExplainingFaults(m_path,
                                [&]() -> base::Result<std::string> {
                                    std::string report;
                                    if (m_database == nullptr || !m_database->tableExists("idle"))
                                        return report;
                                    SQLite::Statement select(
                                        *m_database,
                                        "SELECT report FROM idle WHERE scope = ? AND look = ?");
                                    Bind(select, 1, m_known.memory);
                                    Bind(select, 2, look);
                                    if (select.executeStep()) Get(select.getColumn(0), report);
                                    return report;
                                })
            .ValueOr({});
    }
    base::Status KeepIdleReport(const std::string& look, const std::string& report) override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            Run(database, "INSERT OR REPLACE INTO idle VALUES(?, ?, ?)", m_known.memory, look,
                report);
        });
    }
    base::Status Forget() override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            ForgetRows(database, m_known.memory);
            Run(database, "DELETE FROM folder WHERE key = ?", m_known.key);
        });
    }

  private:
    // The row that the folder has once the run has begun.
    KnownFolder Present() const {
        KnownFolder present = m_known;
        present.path = m_sides.folder;
        present.mark = m_mark;
        present.codePage = m_sides.codePage;
        return present;
    }

    bool IsHere(const std::string& path) const {
        return Identity(m_files, path) == Identity(m_files, m_sides.folder);
    }
    bool IsEmptyFolder() const {
        const auto entries = m_files.List(m_sides.folder, "*");
        return !entries || std::ranges::all_of(*entries, [&](const platform::FolderEntry& entry) {
            const auto below = m_files.List(m_sides.folder + m_files.Separator() + entry.name, "*");
            return entry.isFolder && below && below->empty();
        });
    }

    // Finds what is remembered of the two sides, or begins a memory for them. kRefused if the
    // folder is kept in step with another file of Eudora's, which is there: two would be mixed in
    // it.
    base::Status Find() {
        m_mark = m_locks.folder.Id();
        std::vector<KnownFolder> known, sameMark;
        std::string other;
        if (m_database != nullptr && m_database->tableExists("folder")) {
            known = LoadRows<FolderTable>(*m_database, m_eudora);
            SQLite::Statement select(*m_database, "SELECT DISTINCT scope FROM folder");
            while (!m_mark.empty() && select.executeStep()) {
                std::string scope;
                Get(select.getColumn(0), scope);
                for (KnownFolder& one : LoadRows<FolderTable>(*m_database, scope)) {
                    if (one.mark != m_mark) continue;
                    if (scope != m_eudora && m_files.Exists(scope)) other = scope;
                    sameMark.push_back(std::move(one));
                }
            }
        }
        // A copy beside the original gets a mark of its own.
        const bool isCopy = std::ranges::any_of(sameMark, [&](const KnownFolder& one) {
            return !IsHere(one.path) && FolderMark::Of(m_files, one.path) == m_mark;
        });
        if (isCopy) m_mark.clear();
        const bool isMissing = m_locks.folder.Id().empty() && IsEmptyFolder();
        const auto found = std::ranges::find_if(known, [&](const KnownFolder& one) {
            if (!m_mark.empty()) return one.mark == m_mark;
            return !isCopy && IsHere(one.path) && (isMissing || one.mark.empty());
        });
        if (found != known.end()) {
            m_known = *found;
        } else if (!isCopy && !other.empty()) {
            return base::RefusedFor(m_sides.folder, "is kept in step with " + other + " already",
                                    "name another folder, or let kvsync forget that one first");
        } else if (m_locks.folder.Id().empty()) {
            Adopt(known);
        }
        if (m_mark.empty()) m_mark = m_known.mark.empty() ? base::NewUuid() : m_known.mark;
        if (m_known.memory.empty()) m_known.memory = m_eudora + '\n' + m_mark;
        return {};
    }

    // A memory of an earlier version, which knew folders by the text on the command line, becomes
    // that of this folder.
    void Adopt(const std::vector<KnownFolder>& known) {
        if (m_database == nullptr) return;
        for (std::string& scope : ScopesOf(m_files, *m_database, m_eudora)) {
            if (std::ranges::count(known, scope, &KnownFolder::memory) > 0) continue;
            const std::string named = scope.substr(scope.find('\n') + 1);
            const bool isRelative = base::ToPath(named).is_relative();
            const bool isIt = isRelative
                                  ? HoldsRemembered(m_files, m_sides.folder, *m_database, scope)
                                  : IsHere(named) || named == m_sides.folderAsNamed;
            if (!isIt) continue;
            m_known.memory = std::move(scope);
            return;
        }
    }

    platform::Files& m_files;
    Locks m_locks;
    std::unique_ptr<SQLite::Database> m_database;
    std::string m_path, m_eudora;
    Sides m_sides;
    KnownFolder m_known;  // as it is remembered; without key if it is not
    std::string m_mark;   // that the folder has or will get
};

// Changes, in one step, all that is remembered of Eudora's side. A missing file is no failure.
template <class Work>
base::Status ForEachScopeOf(platform::Files& files, const std::string& path,
                            const std::string& eudora, const Work& work) {
    if (!files.Exists(path)) return {};
    auto database = OpenStateDatabase(files, path, true);
    if (!database) return database.Error();
    auto whole = ExplainingFaults(path, [&] { return CheckWhole(**database, path); });
    if (!whole) return whole;
    return InTransaction(database->get(), path, [&](SQLite::Database& opened) {
        for (const auto& scope : ScopesOf(files, opened, Identity(files, eudora))) {
            work(opened, scope);
        }
    });
}

}  // namespace

base::Result<Lock> LockState(platform::Files& files, const std::string& stateFile, bool mayWrite) {
    return Lock::Take(files, stateFile + ".lock", mayWrite);
}

base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite) {
    return Scope<Remembered, MemoryChange>::Open(files, path, sides, mayWrite);
}

base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite) {
    return Scope<std::vector<RememberedMail>, MailMemoryChange>::Open(files, path, sides, mayWrite);
}

base::Status ForgetEudora(platform::Files& files, const std::string& path,
                          const std::string& eudora) {
    return ForEachScopeOf(files, path, eudora, [](SQLite::Database& database, const auto& scope) {
        ForgetRows(database, scope);
    });
}

base::Status ForgetFiles(platform::Files& files, const std::string& path, const std::string& eudora,
                         const std::vector<std::string>& names) {
    return ForEachScopeOf(
        files, path, eudora, [&](SQLite::Database& database, const std::string& scope) {
            for (const std::string& name : names) {
                Run(database, "DELETE FROM pair WHERE scope = ? AND folder_id = ?", scope, name);
                Run(database, "DELETE FROM mail WHERE scope = ? AND file = ?", scope, name);
            }
            ForgetIdle(database, scope);
        });
}

}  // namespace host::state
