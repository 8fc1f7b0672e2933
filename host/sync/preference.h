#pragma once

#include <optional>
#include <string_view>

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

// How many of `total` remembered ones may be deleted; the larger of 10 and 25% if no limit is
// given.
unsigned long DeletionsAllowed(unsigned long total, const std::optional<DeleteLimit>& limit);

}  // namespace host::sync
