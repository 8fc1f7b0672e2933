#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/backup/restore.h"
#include "host/base/failure.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// The rules of both syncs: which side wins, how much may be deleted, what must be writable.
namespace host::sync {

// Which side wins when both changed a field. kNone: neither, the conflict waits. kNewer: the side
// changed last. kBoth: the same, and a contact's older values are kept in a copy. For mails these
// two prefer no side.
enum class Prefer { kNone, kEudora, kFolder, kNewer, kBoth };
// The word of --prefer: "eudora", "folder", "newer" or "both".
std::optional<Prefer> ParsePrefer(std::string_view text);

// Which way changes go: kPull from Eudora alone, kPush into Eudora alone. What would go the other
// way stays as it is on both sides and is found again by the next run.
enum class Direction { kBoth, kPull, kPush };
// The word of --direction: "both", "pull" or "push".
std::optional<Direction> ParseDirection(std::string_view text);

// How many contacts or mails one run may delete or add: a number, or a percentage of the remembered
// ones.
struct Limit {
    unsigned long number = 0;
    bool isPercent = false;
};
// "25" or "25%", up to 100%.
std::optional<Limit> ParseLimit(std::string_view text);

// One conflict to be settled, by its name in reports, and the side that wins it.
struct Resolution {
    std::string name;
    Side winner = Side::kEudora;
};

// What a person wants of a run.
struct Options {
    Prefer prefer = Prefer::kNone;
    Direction direction = Direction::kBoth;
    std::optional<Limit> maxDelete = {};  // the larger of 10 and 25% if not given
    std::optional<Limit> maxAdd = {};     // into Eudora; 100 on a first run if not given, else any
    bool dryRun = false;
    bool refetch = false;          // files that were made of Eudora's mails are made again
    bool substitute = false;       // a mail is sent with ? for characters that Eudora lacks
    std::chrono::seconds wait{0};  // for another run to end
    // Only this is done, and kRefused if there is no such conflict.
    std::optional<Resolution> resolve = {};
};

// How many of `total` remembered contacts or mails may be deleted; the larger of 10 and 25% if no
// limit is given.
unsigned long DeletionsAllowed(unsigned long total, const std::optional<Limit>& limit);
// The reason to stop a run that would delete `count` of them; nothing if the limit allows it.
// `what` goes on behind the number: "contacts would be deleted".
std::optional<Stop> TooManyDeletions(unsigned long count, const char* what, unsigned long total,
                                     const std::optional<Limit>& limit);
// The same for what would be added to Eudora.
std::optional<Stop> TooManyAdditions(unsigned long count, const char* what, unsigned long total,
                                     const std::optional<Limit>& limit);

// Eudora's texts and the code page in which they are read; numbers are Microsoft's.
struct TextsOfPage {
    unsigned before, now;  // 0 before the first run
    bool isSupposed;       // a first run, and nobody has said which code page it is
    const char* record;    // "contact"
    const char* where;     // behind the code page: " in sender or subject"
    const char* readAnew;  // what another code page than before leads to
    // How many records have a text for which that holds.
    std::function<std::size_t(bool (*holds)(std::string_view text))> count;
};
// Tells of another code page than in the run before, and of texts that are none of a supposed one;
// if they are many, the run stops.
void CheckTexts(const TextsOfPage& texts, Report& report);

// The reasons to settle nothing: there is no such conflict; the direction leaves the side alone
// that would change.
Stop NoSuchConflict(const std::string& name);
Stop LeftByDirection(const std::string& name);

// kRefused for the first of these paths that exists and is read-only. Native paths in UTF-8.
base::Status CheckRights(platform::Files& files, const std::vector<std::string>& paths);

// What every sync command needs. Paths are native, in UTF-8. The objects outlive the call.
struct RunContext {
    platform::Files& files;
    platform::Clock& clock;
    std::string stateFile;   // its folder holds the backups too; made when it is needed
    std::string eudoraLock;  // see state::Sides
    // Takes a line for the terminal, at most five a second and none in the first; may be empty.
    std::function<void(const std::string&)> progress;
    std::string eudoraFolder = {};                    // native, as backups note it
    std::uint64_t backupSpace = backup::kUsualSpace;  // bytes of all backups together
    // When the run began: its own backups stay.
    std::optional<std::chrono::system_clock::time_point> began = {};
};

// The folder "backups" beside the state file.
backup::Backups BackupsOf(const RunContext& context);

// Backs these files of the two sides up, if there are any, and removes old backups. `passedOver`
// becomes the list of what is no regular file. After a failure of the backup there is none.
base::Status BackUp(const RunContext& context, const state::Sides& sides,
                    const std::vector<backup::Origin>& origins, const std::string& reason,
                    std::vector<std::string>& passedOver);

// Puts a backup's files back, as backup::Restore does. All memory of a restored nickname file or
// in-box is dropped, and that of a restored vCard or mail of the other side, so that the next run
// pairs them anew and removes nothing. kRefused while another run holds the state file.
base::Result<backup::Restored> Restore(const RunContext& context, const std::string& id,
                                       const backup::Wanted& wanted);

// Removes the old backups now, of that Eudora alone if a folder is given, and gives them. kRefused
// while another run holds the state file.
base::Result<std::vector<backup::Backup>> PruneBackups(const RunContext& context,
                                                       const std::string& eudoraFolder);

// Moves the value of a step into `place`; a failure leaves `place` as it was.
template <class Value>
base::Status Take(base::Result<Value> given, Value& place) {
    if (!given) return given.Error();
    place = *std::move(given);
    return {};
}

}  // namespace host::sync
