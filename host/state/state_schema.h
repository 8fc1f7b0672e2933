#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "platform/os/result.h"

namespace host::state {

inline constexpr const char* kSelectPairs =
    "SELECT key, eudora_id, eudora_marker, eudora_fields, folder_id, folder_marker, folder_fields,"
    " uid, beyond FROM pair WHERE scope = ? ORDER BY key";
inline constexpr const char* kPutPair =
    "INSERT OR REPLACE INTO pair(key, scope, eudora_id, eudora_marker, eudora_fields, folder_id,"
    " folder_marker, folder_fields, uid, beyond) VALUES(?,?,?,?,?,?,?,?,?,?)";
inline constexpr const char* kForgetPair = "DELETE FROM pair WHERE key = ?";
inline constexpr const char* kSelectIntents =
    "SELECT old_id, new_id, folder_id FROM intent WHERE scope = ?";
inline constexpr const char* kPutIntent =
    "INSERT INTO intent(scope, old_id, new_id, folder_id) VALUES(?,?,?,?)";
inline constexpr const char* kClearIntents = "DELETE FROM intent WHERE scope = ?";

inline constexpr const char* kSelectMails =
    "SELECT key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name,"
    " file_id FROM mail WHERE scope = ? ORDER BY key";
// Of a file of version 2 that is only read.
inline constexpr const char* kSelectOldMails =
    "SELECT key, link, eudora_id, eudora_marker, message_id, file, flags, size, content, name, x''"
    " FROM mail WHERE scope = ? ORDER BY key";
inline constexpr const char* kForgetInBox =
    "DELETE FROM mail WHERE substr(scope, 1, length(?)) = ?";
inline constexpr const char* kPutMail =
    "INSERT OR REPLACE INTO mail(key, scope, link, eudora_id, eudora_marker, message_id, file,"
    " flags, size, content, name, file_id) VALUES(?,?,?,?,?,?,?,?,?,?,?,?)";
inline constexpr const char* kForgetMail = "DELETE FROM mail WHERE key = ?";
inline constexpr const char* kSettleMails = "UPDATE mail SET link = ? WHERE scope = ? AND link = ?";

// kRefused with the way out.
platform::Failure DamagedState(const std::string& path, const std::string& why);

// Whether nothing was ever stored in it, as after a first run on a full disk.
bool HoldsNothing(SQLite::Database& database);

// Whether the database is a whole state file of this version or an earlier one; with `mayWrite` an
// empty one gets its tables, and an earlier one those that it lacks.
platform::Status CheckState(SQLite::Database& database, const std::string& path, bool mayWrite);

}  // namespace host::state
