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

// Which side wins when both changed a field. kNewer: the side changed last. kBoth: the same, and a
// contact's older values are kept in a copy. For mails these two prefer no side.
enum class Prefer { kEudora, kFolder, kNewer, kBoth };
// The word of --prefer: "eudora", "folder", "newer" or "both".
std::optional<Prefer> ParsePrefer(std::string_view text);

// How many contacts or mails one run may delete: a number, or a percentage of the remembered ones.
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

// How many of `total` remembered contacts or mails may be deleted; the larger of 10 and 25% if no
// limit is given.
unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit);
// The reason to refuse `count` deletions; nothing if the limit allows them. `what` goes on behind
// the number: "contacts would be deleted".
std::optional<std::string> TooManyDeletions(unsigned long count, const char* what,
                                            unsigned long total,
                                            const std::optional<DeleteLimit>& limit);

// kRefused for the first of these paths that exists and is read-only. Native paths in UTF-8.
base::Status CheckRights(platform::Files& files, const std::vector<std::string>& paths);

// What every sync command needs. Paths are native, in UTF-8. The objects outlive the call.
struct CommandPlace {
    platform::Files& files;
    platform::Clock& clock;
    std::string stateFile;  // its folder holds the backups too; made when it is needed
    // Takes a line for the terminal, at most five a second and none in the first; may be empty.
    std::function<void(const std::string&)> progress;
};

// The folder "backups" beside the state file.
backup::Backups BackupsOf(const CommandPlace& place);

// Backs these native paths up and removes old backups. `passedOver` becomes the list of what is no
// regular file. After a failure of the backup there is none.
base::Status BackUp(const CommandPlace& place, const std::vector<std::string>& origins,
                    const std::string& reason, std::vector<std::string>& passedOver);

// Puts a backup's files back, as Backups::Restore does; gives the backup of the files that were
// there before. All memory of a restored in-box is dropped, so that the next run pairs its mails
// anew and removes none. kRefused while another run holds the state file.
base::Result<backup::Backup> Restore(const CommandPlace& place, const std::string& id);

// Moves the value of a step into `place`; a failure leaves `place` as it was.
template <class Value>
base::Status Take(base::Result<Value> given, Value& place) {
    if (!given) return given.Error();
    place = *std::move(given);
    return {};
}

}  // namespace host::sync
