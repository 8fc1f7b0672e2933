#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/module/exit_code.h"
#include "host/module/translator_session.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host {

// What a run settles a field with that was changed on both sides.
enum class Prefer { kEudora, kFolder, kNewer, kBoth };
std::optional<Prefer> ParsePrefer(std::string_view text);

// How many contacts one run may delete: a number, or a share of the remembered ones.
struct DeleteLimit {
    unsigned long number = 0;
    bool isPercent = false;
};
// "25" or "25%", up to 100%.
std::optional<DeleteLimit> ParseDeleteLimit(std::string_view text);

// How many of `total` remembered ones may be deleted; the larger of 10 and 25% if no limit is
// given.
unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit);

// Eudora's side. `open` makes a session with the address book selected and opened; it is called
// again whenever the file must be read anew.
struct EudoraPlace {
    std::function<platform::Result<TranslatorSession>()> open;
    std::string selection;   // the nickname file as Eudora knows it (UTF-8): the memory's key
    std::string nativeFile;  // the same file as a native path, for backups
    unsigned codePage = 1252;
};

// What all commands stand on. Paths are native, in UTF-8. The objects outlive the call.
struct CommandPlace {
    platform::Files& files;
    platform::Clock& clock;
    std::string stateFile;  // its folder holds the backups too; made when it is needed
    // Called now and then with a line for the terminal once a run has taken a second; may be empty.
    std::function<void(const std::string&)> progress;
};

struct SyncOptions {
    EudoraPlace eudora;
    std::string contactsFolder;
    Prefer prefer = Prefer::kBoth;
    std::optional<DeleteLimit> maxDelete;  // the larger of 10 and 25% if not given
    bool dryRun = false;
    bool quiet = false;  // counts only, no line for each contact
};

struct ExportOptions {
    EudoraPlace eudora;
    std::string toFolder;  // made if there is none; must hold no .vcf file
};

struct RestoreOptions {
    std::string id;  // as `backups` lists it
};

// What a command has to say: `lines` for standard output, `errors` for standard error, and `json`,
// the same as `lines` and `errors` as one JSON object.
struct Report {
    ExitCode code = ExitCode::kNothingToDo;
    std::vector<std::string> lines;
    std::vector<std::string> errors;
    std::string json;
};

Report RunSync(const CommandPlace& place, const SyncOptions& options);
// What a sync would find and do, without touching anything.
Report RunStatus(const CommandPlace& place, const SyncOptions& options);
Report RunExport(const CommandPlace& place, const ExportOptions& options);
Report RunBackups(const CommandPlace& place);
Report RunRestore(const CommandPlace& place, const RestoreOptions& options);

}  // namespace host
