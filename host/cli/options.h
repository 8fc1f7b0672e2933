#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "host/sync/rules.h"
#include "host/translator/in_box.h"

// The command line and the configuration file, and how they end a command.
namespace host::cli {

// All options of kvsync. Texts are UTF-8, paths native.
struct Options {
    // By options, which any command takes, or the configuration file.
    eudora::SetupOptions setup;
    std::optional<std::string> contacts;     // the folder of vCards
    std::vector<std::string> nicknameFiles;  // of the configuration file, in place of one
    std::optional<std::string> maildir;
    std::optional<std::string> vcardVersion;  // of new vCards
    std::optional<std::string> state;         // the memory's file
    std::optional<std::string> config;
    std::optional<std::string> prefer, direction, maxDelete, maxAdd, wait;
    std::optional<std::string> backupSpace;
    std::uint64_t backupBytes = backup::kUsualSpace;  // what that says; ReadConfiguration fills it
    // Of the configuration file: they hold in place of the saved ones where mails are synced or
    // listed.
    translator::MailLimitChanges mailLimits;
    sync::Options rules;  // what the five say, and the dry run; ReadConfiguration fills it
    bool json = false;
    bool quiet = false;
    bool verbose = false;

    // By the words and options of one command.
    std::string what;    // "contacts", "mail", or empty; of the shell "other" too
    std::string record;  // a nickname, an id or Message-ID of a mail, the id of a backup, or the
                         // name of a conflict
    std::string toFolder;
    std::string format;                  // of exported mails: maildir, mbox, eml
    std::vector<std::string> mailboxes;  // of mails; none: the in-box, of an export all
    std::string script;                  // empty for standard input
    std::string take;                    // "eudora" or "folder"
    bool yes = false;
    bool prune = false;  // backups
    bool all = false;    // of mails those behind the limits too
    bool show = false;   // the limits, and change nothing
    translator::MailLimitChanges limits;
};

// One of the options that are texts: --name on the command line, and in the configuration file the
// key of that name with _ for -.
struct TextOption {
    // The paths: of Eudora and of kvsync's own files; of a nickname file; of the folders that are
    // kept in step; the one that the configuration file cannot hold. A word; one of `sync`; one of
    // `resolve` too; one of the configuration file alone.
    enum Kind { kPath, kBook, kFolder, kConfig, kWord, kWordOfSync, kWordOfRun, kWordOfFile };

    std::string name;
    Kind kind;
    std::optional<std::string>& value;
    const char* help;
    bool isNumber = false;  // the file may have it as a number

    bool IsPath() const { return kind <= kConfig; }
};
std::vector<TextOption> TextOptions(Options& options);

// Completes the options from the configuration file (TOML) and checks the values of both. The file
// is that of --config, which must exist, else kvsync/config.toml in $XDG_CONFIG_HOME, %APPDATA% or
// ~/.config if there is one. Throws a Misuse if the file cannot be read, is no TOML, holds an
// unknown key or a value of the wrong kind, or if a value makes no sense.
void ReadConfiguration(Options& options);

inline constexpr const char* kEmptyPath = "is empty where a path is needed";

// Thrown to end a command: RunApplication prints the failure and gives its exit code.
struct Ended : std::exception {
    explicit Ended(base::Failure why) : failure(std::move(why)) {}
    base::Failure failure;
};

// A wrong command line or configuration file.
inline Ended Misuse(std::string what) {
    return Ended({base::ExitCode::kUsage, std::move(what)});
}

// The value of a result; a failure is thrown and ends the command.
template <class T, class F>
T OrEnd(platform::Result<T, F> result) {
    if (!result) throw Ended(result.Error());
    if constexpr (!std::is_void_v<T>) return *std::move(result);
}

}  // namespace host::cli
