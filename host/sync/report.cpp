#include "host/sync/report.h"

#include <algorithm>

namespace host::sync {

base::ExitCode Report::Code() const {
    if (stop) return stop->why.exit;
    if (!errors.empty()) return base::ExitCode::kFailed;
    if (!conflicts.empty()) return base::ExitCode::kConflictsLeft;
    return changes.empty() ? base::ExitCode::kNothingToDo : base::ExitCode::kChangesMade;
}

std::size_t Report::Count(Side side, Verb verb) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        changes, [&](const Change& change) { return change.On(side).verb == verb; }));
}

bool Report::Changes(Side side) const {
    return Count(side, Verb::kNone) < changes.size();
}

bool Report::HasNews() const {
    return Code() != base::ExitCode::kNothingToDo || undone > 0 || held > 0;
}

}  // namespace host::sync
