#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/backup/backups.h"
#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// The rules of both syncs: which side wins, how much may be deleted, what must be writable.
namespace host::sync {

// Which side wins when both changed a field.
enum class Prefer { kEudora, kFolder, kNewer, kBoth };
std::optional<Prefer> ParsePrefer(std::string_view text);

// How many contacts one run may delete: a number, or a share of the remembered ones.
struct DeleteLimit {
    unsigned long number = 0;
    bool isPercent = false;
};
// "25" or "25%", up to 100%.
std::optional<DeleteLimit> ParseDeleteLimit(std::string_view text);

// What a person wants of a run.
struct Options {
    Prefer prefer = Prefer::kBoth;
    std::optional<DeleteLimit> maxDelete;  // the larger of 10 and 25% if not given
    bool dryRun = false;
};

// How many of `total` remembered ones may be deleted; the larger of 10 and 25% if no limit is
// given.
unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit);
// Why so many deletions may not be carried out, if they may not; `what` is "contacts would be
// deleted" or the like.
std::optional<std::string> TooManyDeletions(unsigned long count, const char* what,
                                            unsigned long total,
                                            const std::optional<DeleteLimit>& limit);

// kRefused for the first of these native paths that is there and may not be written.
base::Status CheckRights(platform::Files& files, const std::vector<std::string>& paths);

// What all commands stand on. Paths are native, in UTF-8. The objects outlive the call.
struct CommandPlace {
    platform::Files& files;
    platform::Clock& clock;
    std::string stateFile;  // its folder holds the backups too; made when it is needed
    // Called now and then with a line for the terminal once a run has taken a second; may be empty.
    std::function<void(const std::string&)> progress;
};

// The backups beside the state file.
backup::Backups BackupsOf(const CommandPlace& place);

// Backs these native paths up and lets old backups go. Adds what is no regular file to
// `passedOver`.
base::Status BackUp(const CommandPlace& place, const std::vector<std::string>& origins,
                    const std::string& reason, std::vector<std::string>& passedOver);

// Puts a backup's files back, as backup::Backups has it; gives the backup of what was there before.
// What was in step with an in-box that is put back is forgotten.
base::Result<backup::Backup> Restore(const CommandPlace& place, const std::string& id);

// Moves what a step gave into its place; after a failure that is as before.
template <class Value>
base::Status Take(base::Result<Value> given, Value& place) {
    if (!given) return given.Error();
    place = *std::move(given);
    return {};
}

}  // namespace host::sync
