#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/failure.h"
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

}  // namespace host::sync
