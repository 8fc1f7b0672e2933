#include "host/sync/report.h"

#include <algorithm>

#include <nlohmann/json.hpp>

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

bool Report::IsIdle() const {
    return !HasNews() && refused.empty() && leftAlone.empty() && notes.empty() && drafts == 0;
}

// Details name files, which may be any bytes: JSON holds UTF-8 alone.
std::string IdleBytes(const Report& report) {
    std::string bytes;
    nlohmann::json::to_cbor(
        {report.richer, report.details, report.dropped, report.kept, report.limits, report.further},
        bytes);
    return bytes;
}

std::optional<Report> IdleReport(const std::string& bytes) {
    const auto parts = nlohmann::json::from_cbor(bytes, true, false);
    if (!parts.is_array() || parts.size() != 6) return std::nullopt;
    Report report;
    parts[0].get_to(report.richer);
    parts[1].get_to(report.details);
    parts[2].get_to(report.dropped);
    parts[3].get_to(report.kept);
    parts[4].get_to(report.limits);
    parts[5].get_to(report.further);
    return report;
}

}  // namespace host::sync
