#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/clock.h"

namespace mailstore {

// A mail's date in the forms in which a mailbox has it.
struct MailDate {
    std::string line;           // "Date: Wed, 02 Jan 1980 02:03:55 +0900"
    std::string separatorDate;  // "Wed Jan 02 02:03:55 1980"
    std::string szDate;         // "05:03 PM 1/1/80 +0900": the block's, at most 31 bytes
    std::uint32_t dwSeconds = 0;
};

// Converts an OLE automation date in local time, given as a decimal number. A missing or invalid
// date counts as the present time; a date before 1970 has 0 seconds. The difference to UTC is that
// of standard time. The block's text has a 24-hour clock in Japanese.
MailDate ConvertMailDate(const char* text, platform::Clock& clock, bool isJapanese);

// The OLE automation date of a text "YYYY/MM/DD HH:MM": days since 1899-12-30, the time as
// fraction. Nothing if a part is missing, or for no date of the years 100 to 9999.
std::optional<double> ParseDate(std::string_view text);

// The present local time, in whole seconds, as an OLE automation date.
double LocalNow(platform::Clock& clock);

}  // namespace mailstore
