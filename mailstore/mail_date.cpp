#include "mailstore/mail_date.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

#include "platform/mfc/ole_date_time.h"

namespace mailstore {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr sys_days kOleEpoch =
    std::chrono::year(1899) / std::chrono::December / std::chrono::day(30);
constexpr double kSecondsOfDay = 86400.0;
constexpr std::size_t kDateWidth = 31;

// A point of time taken apart; it stands for local time or for UTC, as its maker means it.
struct Parts {
    explicit Parts(sys_seconds point)
        : day(floor<days>(point)), date(floor<days>(point)), time(point - floor<days>(point)) {}

    const char* DayName() const { return kDays[std::chrono::weekday(day).c_encoding()]; }
    const char* MonthName() const { return kMonths[Month() - 1]; }
    unsigned Month() const { return static_cast<unsigned>(date.month()); }
    unsigned Day() const { return static_cast<unsigned>(date.day()); }
    int Year() const { return static_cast<int>(date.year()); }
    int Hour() const { return static_cast<int>(time.hours().count()); }
    int Minute() const { return static_cast<int>(time.minutes().count()); }
    int Second() const { return static_cast<int>(time.seconds().count()); }

    sys_days day;
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<seconds> time;
};

template <class... Arguments>
std::string Format(const char* format, Arguments... arguments) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, arguments...);
    return buffer;
}

// Where the zone has left that time out, what holds then counts.
seconds StandardOffset(sys_seconds local, platform::Clock& clock) {
    return clock.StandardOffset(local).value_or(clock.UtcOffset(local));
}

// The local time that the text tells.
sys_seconds LocalTime(const char* text, platform::Clock& clock) {
    const std::string_view digits(text != nullptr ? text : "");
    double number = std::numeric_limits<double>::infinity();
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const COleDateTime date(number);
    if (date.GetStatus() != COleDateTime::kValid) {
        const auto now = clock.Now();
        return floor<seconds>(now) + clock.UtcOffset(now);
    }
    const double day = std::trunc(date.Value());
    const double second = std::round(std::fabs(date.Value() - day) * kSecondsOfDay);
    return kOleEpoch + days(static_cast<int>(day)) + seconds(static_cast<int>(second));
}

std::string ZoneText(seconds offset) {
    const long long minutes = std::abs(offset.count()) / 60;
    return Format("%c%02d%02d", offset.count() < 0 ? '-' : '+', static_cast<int>(minutes / 60),
                  static_cast<int>(minutes % 60));
}

std::string BlockDate(const Parts& parts, const std::string& zone, bool isJapanese) {
    const int years = parts.Year() - 1900;
    std::string text;
    if (isJapanese) {
        text = Format("%2d:%2d:%2d %u/%u/%d %s", parts.Hour(), parts.Minute(), parts.Second(),
                      parts.Month(), parts.Day(), years, zone.c_str());
    } else {
        const bool isLate = parts.Hour() > 12;
        text = Format("%2d:%2d %s %u/%u/%d %s", isLate ? parts.Hour() - 12 : parts.Hour(),
                      parts.Minute(), isLate ? "PM" : "AM", parts.Month(), parts.Day(), years,
                      zone.c_str());
    }
    for (const std::size_t at : {0, 3}) {
        if (text[at] == ' ') text[at] = '0';
    }
    return text.substr(0, kDateWidth);
}

}  // namespace

MailDate ConvertMailDate(const char* text, platform::Clock& clock, bool isJapanese) {
    const sys_seconds local = LocalTime(text, clock);
    const Parts parts(local);
    // The UTC fields are read as local time once more. The distance of the two is the zone, the
    // second one is the number, and where daylight saving holds at that time its fields follow it.
    const sys_seconds utc = local - StandardOffset(local, clock);
    const sys_seconds twice = utc - StandardOffset(utc, clock);
    const std::string zone = ZoneText(utc - twice);
    const std::string time = Format("%02d:%02d:%02d", parts.Hour(), parts.Minute(), parts.Second());

    MailDate date;
    date.separatorDate = Format("%s %s %02u %s %04d", parts.DayName(), parts.MonthName(),
                                parts.Day(), time.c_str(), parts.Year());
    date.line = Format("Date: %s, %02u %s %04d %s %s", parts.DayName(), parts.Day(),
                       parts.MonthName(), parts.Year(), time.c_str(), zone.c_str());
    date.szDate = BlockDate(Parts(twice + clock.UtcOffset(twice)), zone, isJapanese);
    constexpr long long kMost = std::numeric_limits<std::uint32_t>::max();
    date.dwSeconds = static_cast<std::uint32_t>(
        std::clamp<long long>(twice.time_since_epoch().count(), 0, kMost));
    return date;
}

}  // namespace mailstore
