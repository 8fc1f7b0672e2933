#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>
#include <vector>

#include "host/state/memory.h"

// The rows of the state database. Those of one memory share a scope: the path of Eudora's file,
// LF, and the folder's mark or, in a memory of an earlier version, the folder as it was named.
// Every call throws SQLite's exceptions, and DamagedContent for content that makes no sense.
namespace host::state {

// A folder that is kept in step with a nickname file or an in-box.
struct KnownFolder {
    Key key = 0;
    std::string memory;  // the scope of its rows
    std::string path;    // where it was last, links followed
    std::string mark;    // empty if none can be written there
    unsigned codePage = 0;
    std::string eudora;  // the nickname file, or In.mbx
    bool operator==(const KnownFolder&) const = default;
};

// All of them, in the order in which they were remembered.
std::vector<KnownFolder> LoadFolders(SQLite::Database& database);
// Adds it, or replaces the one of the same key. Gives its key.
Key SaveFolder(SQLite::Database& database, const KnownFolder& folder);
void ForgetFolder(SQLite::Database& database, Key key);

// The content of a memory, oldest first.
void Load(SQLite::Database& database, const std::string& scope, Remembered& remembered);
void Load(SQLite::Database& database, const std::string& scope, std::vector<RememberedMail>& mails);
// Added rows get their keys. Both forget the idle report.
void Save(SQLite::Database& database, const std::string& scope, MemoryChange& change);
void Save(SQLite::Database& database, const std::string& scope, MailMemoryChange& change);

std::string IdleReport(SQLite::Database& database, const std::string& scope,
                       const std::string& look);
void KeepIdleReport(SQLite::Database& database, const std::string& scope, const std::string& look,
                    const std::string& report);

// The scopes that have contacts, intents or mails; one may be named more than once.
std::vector<std::string> Scopes(SQLite::Database& database);
void ForgetScope(SQLite::Database& database, const std::string& scope);
// Forgets the rows of these vCards, by their names, or files of a Maildir, by the parts of their
// names that stay.
void ForgetFiles(SQLite::Database& database, const std::string& scope,
                 const std::vector<std::string>& names);

}  // namespace host::state
