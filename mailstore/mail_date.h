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

// `text` is an OLE automation date in local time as a decimal number. No date, or none that can be
// one, counts as the present time; one before 1970 has 0 seconds. Daylight saving takes no part in
// the difference to UTC. The block's text has a 24-hour clock in Japanese.
MailDate ConvertMailDate(const char* text, platform::Clock& clock, bool isJapanese);

// The date of a text of the form "YYYY/MM/DD HH:MM", in days since 1899-12-30 with the time as
// fraction (an OLE date). Nothing if it has fewer pieces, or if they
// are no date from the year 100 to 9999.
std::optional<double> ParseDate(std::string_view text);

// The local time in whole seconds, in the same form.
double LocalNow(platform::Clock& clock);

}  // namespace mailstore
