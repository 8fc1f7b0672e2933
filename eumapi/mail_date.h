#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/clock.h"

namespace eumapi {

// The moment that a Date field or a separator line names (see text::ReadMailDate); without a zone
// the text is local time.
std::optional<std::chrono::system_clock::time_point> ParseMailDate(std::string_view text,
                                                                   platform::Clock& clock);

// The date and time that local clocks show at that moment.
std::chrono::local_seconds LocalTime(std::chrono::system_clock::time_point moment,
                                     platform::Clock& clock);

// "YYYY/MM/DD HH:MM" in local time, as Simple MAPI writes dates.
std::string MapiDate(std::chrono::system_clock::time_point moment, platform::Clock& clock);

}  // namespace eumapi
