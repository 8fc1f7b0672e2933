#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/clock.h"

namespace eumapi {

// The moment that a Date field names: the form of RFC 5322 with its obsolete parts (zones by name,
// years of two digits, comments anywhere), and that of C's asctime as separator lines have it.
// Without a zone the text is local time, an unknown zone counts as UTC. Nothing for a text that is
// no date.
std::optional<std::chrono::system_clock::time_point> ParseMailDate(std::string_view text,
                                                                   platform::Clock& clock);

// A moment split into a calendar date and a time of day; no zone.
struct SplitTime {
    int year, month, day, hour, minute, second, weekday;  // Sunday is 0
};
SplitTime SplitLocal(std::chrono::system_clock::time_point moment, platform::Clock& clock);

// "YYYY/MM/DD HH:MM" in local time, as Simple MAPI writes dates.
std::string MapiDate(std::chrono::system_clock::time_point moment, platform::Clock& clock);

}  // namespace eumapi
