#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// Dates and their texts. A std::chrono::local_seconds is a date and a time of day in a zone that is
// stated beside it.
namespace text {

// The date and time at an instant in a zone that is `offset` ahead of UTC.
std::chrono::local_seconds CivilTime(std::chrono::system_clock::time_point instant,
                                     std::chrono::seconds offset = {});

// Replaces in the pattern %a (Tue), %b (Nov), %Y (2026, four digits), and with two digits %m month,
// %d day, %H hour, %I hour up to 12 (midnight is 00), %M minute, %S second. %-m drops a leading
// zero, %_m makes it a blank. Names are English.
std::string Format(std::string_view pattern, std::chrono::local_seconds time);
// "2026-11-24T17:05:00"
std::string IsoText(std::chrono::local_seconds time);
// "2026-11-24T17:05:00+01:00"
std::string IsoText(std::chrono::local_seconds time, std::chrono::seconds offset);
// "+0100"
std::string ZoneText(std::chrono::seconds offset);

// OLE automation dates: days since 1899-12-30 with the time of day as fraction, which counts
// forward from midnight also before that day. Valid are the years 100 to 9999; nothing for others.
bool IsOleDate(double date);
std::optional<std::chrono::local_seconds> FromOleDate(double date);
std::optional<double> ToOleDate(std::chrono::local_seconds time);

// The date of a mail; a time without a zone is the reader's local time.
struct MailDate {
    std::chrono::local_seconds time;
    std::optional<std::chrono::seconds> zone;  // ahead of UTC
};
// Reads a date of RFC 5322, also in its obsolete forms (zones by name, years of two digits,
// comments anywhere), or of C's asctime, as mailbox files have it. An unknown zone counts as UTC.
// Nothing for a text without a date, and for years before 1900 or after 2200.
std::optional<MailDate> ReadMailDate(std::string_view text);

}  // namespace text
