#pragma once

#include <optional>
#include <string_view>

#include "platform/os/clock.h"

// Dates of mails as OLE dates: days since 1899-12-30, with the time as fraction.
namespace mailstore {

// The date of a text of the form "YYYY/MM/DD HH:MM". Nothing if it has fewer pieces, or if they
// are no date from the year 100 to 9999.
std::optional<double> ParseDate(std::string_view text);

// The local time in whole seconds, as an OLE date.
double LocalNow(platform::Clock& clock);

}  // namespace mailstore
