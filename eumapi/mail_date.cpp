#include "eumapi/mail_date.h"

#include "text/calendar.h"

namespace eumapi {

using TimePoint = std::chrono::system_clock::time_point;

std::optional<TimePoint> ParseMailDate(std::string_view text, platform::Clock& clock) {
    const auto date = text::ReadMailDate(text);
    if (!date) return std::nullopt;
    const TimePoint asUtc(date->time.time_since_epoch());
    if (date->zone) return asUtc - *date->zone;
    // The clock tells local time's distance only for a moment; asked twice, it answers for the
    // right one but within the hour that a change of summer time skips or repeats.
    return asUtc - clock.UtcOffset(asUtc - clock.UtcOffset(asUtc));
}

std::chrono::local_seconds LocalTime(TimePoint moment, platform::Clock& clock) {
    return text::CivilTime(moment, clock.UtcOffset(moment));
}

std::string MapiDate(TimePoint moment, platform::Clock& clock) {
    return text::Format("%Y/%m/%d %H:%M", LocalTime(moment, clock));
}

}  // namespace eumapi
