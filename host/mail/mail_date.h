#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace host::mail {

// A moment of local time to the second.
using LocalSeconds = std::chrono::local_seconds;

// An OLE automation date: days since 1899-12-30, the time of day in the fraction, also in front of
// that day. Nothing outside the years 100 to 9999.
std::optional<LocalSeconds> FromOleDate(double date);

// The same the other way round.
std::optional<double> ToOleDate(LocalSeconds local);

// "Tue, 24 Nov 2026 17:05:00 +0100": the form of RFC 5322.
std::string MessageDate(LocalSeconds local, std::chrono::seconds offset);

// "2026-11-24T17:05:00"
std::string IsoDate(LocalSeconds local);

}  // namespace host::mail
