#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// Dates and their texts. A std::chrono::local_seconds is a date and a time of day of some zone, to
// the second; which zone is said beside it.
namespace text {

// The date and time that clocks show at that instant which are `offset` ahead of UTC.
std::chrono::local_seconds CivilTime(std::chrono::system_clock::time_point instant,
                                     std::chrono::seconds offset = {});

// The pattern with the parts of the time in it: %a Tue, %b Nov, %Y 2026 (four digits), and of two
// digits %m month, %d day, %H hour, %I hour up to 12 (midnight is 00), %M minute, %S second.
// %-m has no zero in front, %_m a blank for it.
std::string Format(std::string_view pattern, std::chrono::local_seconds time);
// "2026-11-24T17:05:00"
std::string IsoText(std::chrono::local_seconds time);
// "+0100"
std::string ZoneText(std::chrono::seconds offset);

// An OLE automation date: days since 1899-12-30, the time of day in the fraction, which counts
// forward also in front of that day. The years 100 to 9999 are valid.
bool IsOleDate(double date);
std::optional<std::chrono::local_seconds> FromOleDate(double date);
std::optional<double> ToOleDate(std::chrono::local_seconds time);

// A date as a mail tells it; without a zone the time is that of whoever reads it.
struct MailDate {
    std::chrono::local_seconds time;
    std::optional<std::chrono::seconds> zone;  // ahead of UTC
};
// Reads the form of RFC 5322 with its obsolete parts (zones by name, years of two digits, comments
// anywhere), and that of C's asctime as mailbox files have it. An unknown zone counts as UTC.
// Nothing for a text that is no date, or one outside the years 1900 to 2200.
std::optional<MailDate> ReadMailDate(std::string_view text);

}  // namespace text
