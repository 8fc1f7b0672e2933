#pragma once

#include <cstdint>
#include <string>

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

}  // namespace mailstore
