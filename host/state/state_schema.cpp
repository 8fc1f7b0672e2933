#include "host/state/state_schema.h"

#include <array>

#include "host/base/exit_code.h"

namespace host::state {

namespace {

// "kvsy": tells a state file from any other database.
constexpr int kApplicationId = 0x6B767379;
constexpr int kVersion = 3;

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

}  // namespace

platform::Failure DamagedState(const std::string& path, const std::string& why) {
    return base::Refused(
        path + ": the state file is damaged (" + why +
        "); move it away: the next run pairs contacts and mails by what they hold and "
        "loses nothing");
}

bool HoldsNothing(SQLite::Database& database) {
    return Number(database, "PRAGMA application_id") == 0 &&
           Number(database, "PRAGMA user_version") == 0 &&
           Number(database, "SELECT count(*) FROM sqlite_master") == 0;
}

platform::Status CheckState(SQLite::Database& database, const std::string& path, bool mayWrite) {
    if (mayWrite && HoldsNothing(database)) {
        Upgrade(database, 0);
        return {};
    }
    const int application = Number(database, "PRAGMA application_id");
    const int version = Number(database, "PRAGMA user_version");
    if (application != kApplicationId) {
        return base::Refused(path +
                             ": is the database of another program; name another state file");
    }
    if (version > kVersion) {
        return base::Refused(path + ": was written by a later version of kvsync; use that one");
    }
    const std::string check = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (check != "ok") return DamagedState(path, check);
    if (version < 1) return DamagedState(path, "no version in it");
    if (mayWrite && version < kVersion) Upgrade(database, version);
    return {};
}

}  // namespace host::state
