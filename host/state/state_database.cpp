#include "host/state/state_database.h"

#include <SQLiteCpp/Backup.h>
#include <sqlite3.h>

#include <array>

#include "platform/os/not_copied.h"

namespace host::state {

using platform::ErrorCode;

namespace {

// "kvsy": tells a state file from any other database.
constexpr int kApplicationId = 0x6B767379;
constexpr int kVersion = 5;

// What each version added; the first makes an empty file one of version 1.
constexpr std::array<const char*, kVersion> kSteps = {R"(
    CREATE TABLE pair(
        key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL,
        eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, eudora_fields TEXT NOT NULL,
        folder_id BLOB NOT NULL, folder_marker BLOB NOT NULL, folder_fields TEXT NOT NULL,
        uid BLOB NOT NULL, beyond INTEGER NOT NULL);
    CREATE INDEX pair_scope ON pair(scope);
    CREATE TABLE intent(
        scope BLOB NOT NULL, old_id BLOB NOT NULL, new_id BLOB NOT NULL,
        folder_id BLOB NOT NULL);
)",
                                                      R"(
    CREATE TABLE mail(
        key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL, link INTEGER NOT NULL,
        eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, message_id BLOB NOT NULL,
        file BLOB NOT NULL, flags BLOB NOT NULL, size INTEGER NOT NULL, content BLOB NOT NULL,
        name BLOB NOT NULL);
    CREATE INDEX mail_scope ON mail(scope, link);
)",
                                                      R"(
    ALTER TABLE mail ADD COLUMN file_id BLOB NOT NULL DEFAULT x'';
)",
                                                      R"(
    ALTER TABLE mail ADD COLUMN lack INTEGER NOT NULL DEFAULT 0;
    CREATE TABLE folder(
        key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL, memory BLOB NOT NULL,
        path BLOB NOT NULL, mark BLOB NOT NULL, code_page INTEGER NOT NULL);
    CREATE INDEX folder_scope ON folder(scope);
)",
                                                      R"(
    CREATE TABLE idle(scope BLOB PRIMARY KEY, look BLOB NOT NULL, report BLOB NOT NULL);
)"};

int Number(SQLite::Database& database, const char* pragma) {
    return database.execAndGet(pragma).getInt();
}

void Upgrade(SQLite::Database& database, int version) {
    SQLite::Transaction transaction(database);
    for (; version < kVersion; ++version) database.exec(kSteps[static_cast<std::size_t>(version)]);
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.exec("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.commit();
}

base::Failure Damaged(const std::string& path, const std::string& why) {
    return base::RefusedFor(
        path, "the state file is damaged (" + why + ")",
        "move it away: the next run pairs contacts and mails by what they hold and loses nothing");
}

// Whether nothing was ever stored in it, as after a first run on a full disk.
bool HoldsNothing(SQLite::Database& database) {
    return Number(database, "PRAGMA application_id") == 0 &&
           Number(database, "PRAGMA user_version") == 0 &&
           Number(database, "SELECT count(*) FROM sqlite_master") == 0;
}

// Whether the database is a whole state file of this version or an earlier one; with `mayWrite` an
// empty one gets its tables, and an earlier one those that it lacks.
base::Status CheckState(SQLite::Database& database, const std::string& path, bool mayWrite) {
    if (mayWrite && HoldsNothing(database)) {
        Upgrade(database, 0);
        return {};
    }
    const int application = Number(database, "PRAGMA application_id");
    const int version = Number(database, "PRAGMA user_version");
    if (application != kApplicationId) {
        return base::RefusedFor(path, "is the database of another program",
                                "name another state file");
    }
    if (version > kVersion) {
        return base::RefusedFor(path, "was written by a later version of kvsync", "use that one");
    }
    if (version < 1) return Damaged(path, "no version in it");
    if (!mayWrite || version == kVersion) return {};
    auto whole = CheckWhole(database, path);
    if (whole) Upgrade(database, version);
    return whole;
}

std::string JournalOf(const std::string& path) {
    return path + "-journal";
}

// A copy of a state file with its journal, in a folder of its own: SQLite looks for more files
// beside a database, and in the folder for temporary files anybody can have put some.
class TemporaryCopy : platform::NotCopied {
  public:
    explicit TemporaryCopy(platform::Files& files) : m_files(files) {}
    ~TemporaryCopy() {
        if (m_folder.empty()) return;
        (void)m_files.Delete(Path());
        (void)m_files.Delete(JournalOf(Path()));
        (void)m_files.RemoveFolder(m_folder);
    }

    base::Status Make(const std::string& original) {
        const auto temp = m_files.TempFolder();
        if (!temp) return temp.Error();
        auto folder = m_files.CreateTempFolder(*temp, "kvsync-");
        if (!folder) return folder.Error();
        m_folder = *std::move(folder);
        auto made = m_files.Open(Path(), platform::OpenMode::kCreateNew, platform::Share::kNone);
        if (!made) return made.Error();
        made->reset();
        if (auto status = platform::CopyInto(m_files, original, Path()); !status) return status;
        return m_files.Copy(JournalOf(original), JournalOf(Path()));
    }
    std::string Path() const { return m_folder + m_files.Separator() + "state.db"; }

  private:
    platform::Files& m_files;
    std::string m_folder;
};

// What a file held whose last change was cut off, as its journal has it, before that change: in
// memory; null if that was nothing. The file, its journal and their folder stay as they are.
base::Result<std::unique_ptr<SQLite::Database>> ReadCutOffState(platform::Files& files,
                                                                const std::string& path) {
    TemporaryCopy copy(files);
    if (auto status = copy.Make(path); !status) return status.Error();
    // The first look at the content makes SQLite undo what was cut off.
    SQLite::Database source(copy.Path(), SQLite::OPEN_READWRITE);
    if (source.execAndGet("PRAGMA page_count").getInt() == 0) {
        return std::unique_ptr<SQLite::Database>();
    }
    auto memory = std::make_unique<SQLite::Database>(":memory:",
                                                     SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    SQLite::Backup(*memory, source).executeStep();
    if (HoldsNothing(*memory)) return std::unique_ptr<SQLite::Database>();
    if (auto status = CheckState(*memory, path, false); !status) return status.Error();
    return memory;
}

// SQLite would wait for the other end of a pipe.
base::Status CheckKinds(platform::Files& files, const std::string& path) {
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

base::Status CheckWhole(SQLite::Database& database, const std::string& path) {
    const std::string check = database.execAndGet("PRAGMA quick_check(1)").getString();
    return check == "ok" ? base::Status() : Damaged(path, check);
}

int VersionOf(SQLite::Database& database) {
    return Number(database, "PRAGMA user_version");
}

SQLite::Exception DamagedContent(const std::string& why) {
    return SQLite::Exception(why, SQLITE_CORRUPT);
}

base::Failure ExplainState(const std::string& path, const SQLite::Exception& error) {
    switch (error.getErrorCode()) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
            return Damaged(path, error.what());
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return base::RefusedFor(path, "in use by another program",
                                    "try again when it has ended");
        case SQLITE_FULL:
            return platform::Failure{ErrorCode::kNoSpace, path};
        default:
            return base::Failed(path + ": " + error.what());
    }
}

base::Result<std::unique_ptr<SQLite::Database>> OpenStateDatabase(platform::Files& files,
                                                                  const std::string& path,
                                                                  bool mayWrite) {
    auto info = files.Stat(path);
    if (!info && info.Error().code != ErrorCode::kNotFound) return info.Error();
    if (info && info->isFolder)
        return base::RefusedFor(path, "is a folder", "name a file for the state");
    if (auto status = CheckKinds(files, path); !status) return status.Error();
    if (!mayWrite && (!info || info->size == 0)) return std::unique_ptr<SQLite::Database>();
    if (!info) {
        // SQLite would make a file that everybody may read.
        const auto made = files.Open(path, platform::OpenMode::kCreateNew, platform::Share::kNone);
        if (!made) return made.Error();
    }
    const int flags = mayWrite ? SQLite::OPEN_READWRITE : SQLite::OPEN_READONLY;
    using Opened = base::Result<std::unique_ptr<SQLite::Database>>;
    return ExplainingFaults(path, [&]() -> Opened {
        if (!mayWrite && files.Exists(JournalOf(path))) return ReadCutOffState(files, path);
        auto database = std::make_unique<SQLite::Database>(path, flags, 5000);
        if (mayWrite) {
            // From here to its end the run has the file to itself: what it does can be remembered.
            database->exec("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
        } else if (HoldsNothing(*database)) {
            return std::unique_ptr<SQLite::Database>();
        }
        if (auto status = CheckState(*database, path, mayWrite); !status) return status.Error();
        return database;
    });
}

base::Status InTransaction(SQLite::Database* database, const std::string& path,
                           const std::function<void(SQLite::Database&)>& work) {
    if (database == nullptr) return base::Failed(path + ": opened for reading only");
    return ExplainingFaults(path, [&]() -> base::Status {
        SQLite::Transaction transaction(*database);
        work(*database);
        transaction.commit();
        return {};
    });
}

}  // namespace host::state
