#include "mailstore/mail_date.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "text/ascii.h"
#include "text/calendar.h"

namespace mailstore {

namespace {

using std::chrono::local_seconds;
using std::chrono::seconds;

constexpr std::size_t kDateWidth = 31;

// The offset of standard time; for a local time that the zone skips the present rule.
seconds StandardOffset(local_seconds local, platform::Clock& clock) {
    const std::chrono::sys_seconds time(local.time_since_epoch());
    return clock.StandardOffset(time).value_or(clock.UtcOffset(time));
}

// The local time of an OLE date in decimal; the present one for an invalid date.
local_seconds LocalTime(const char* text, platform::Clock& clock) {
    const std::string_view digits(text != nullptr ? text : "");
    double number = std::numeric_limits<double>::infinity();
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const auto now = clock.Now();
    const auto time = text::FromOleDate(number);
    return time ? *time : text::CivilTime(now, clock.UtcOffset(now));
}

// The digits that the text begins with; 0 without any. No larger than what no date piece has.
long NumberOf(const std::string& text) {
    return std::clamp(std::strtol(text.c_str(), nullptr, 10), -1L, 10'000L);
}

bool IsWithin(long value, long lowest, long highest) {
    return value >= lowest && value <= highest;
}

std::string BlockDate(local_seconds time, const std::string& zone, bool isJapanese) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const bool isLate = time - day >= hours(13);
    const auto* const pattern = isJapanese ? "%H:%M:%_S %-m/%-d/"
                                : isLate   ? "%I:%M PM %-m/%-d/"
                                           : "%I:%M AM %-m/%-d/";
    const int years = static_cast<int>(year_month_day(day).year()) - 1900;
    const auto text = text::Format(pattern, time) + std::to_string(years) + ' ' + zone;
    return text.substr(0, kDateWidth);
}

}  // namespace

MailDate ConvertMailDate(const char* text, platform::Clock& clock, bool isJapanese) {
    const local_seconds local = LocalTime(text, clock);
    // The UTC fields are read as local time once more. The distance of the two is the zone, the
    // second one is the number, and where daylight saving holds at that time its fields follow it.
    const local_seconds utc = local - StandardOffset(local, clock);
    const local_seconds twice = utc - StandardOffset(utc, clock);
    const std::string zone = text::ZoneText(utc - twice);
    const seconds number = twice.time_since_epoch();

    MailDate date;
    date.separatorDate = text::Format("%a %b %d %H:%M:%S %Y", local);
    date.line = text::Format("Date: %a, %d %b %Y %H:%M:%S ", local) + zone;
    date.szDate =
        BlockDate(twice + clock.UtcOffset(std::chrono::sys_seconds(number)), zone, isJapanese);
    constexpr long long kMost = std::numeric_limits<std::uint32_t>::max();
    date.dwSeconds = static_cast<std::uint32_t>(std::clamp<long long>(number.count(), 0, kMost));
    return date;
}

std::optional<double> ParseDate(std::string_view text) {
    long pieces[5];
    std::string_view delimiters = "// ::";
    for (long& number : pieces) {
        const auto piece = text::TakeToken(text, delimiters.substr(0, 1));
        if (!piece) return std::nullopt;
        number = NumberOf(std::string(*piece));
        delimiters.remove_prefix(1);
    }
    const auto [y, m, d, h, minute] = pieces;
    const bool isTime = IsWithin(h, 0, 23) && IsWithin(minute, 0, 59);
    if (!isTime || !IsWithin(m, 1, 12) || !IsWithin(d, 1, 31)) return std::nullopt;
    using namespace std::chrono;
    const year_month_day date{year{static_cast<int>(y)}, month{static_cast<unsigned>(m)},
                              day{static_cast<unsigned>(d)}};
    if (!date.ok()) return std::nullopt;
    return text::ToOleDate(local_days{date} + hours(h) + minutes(minute));
}

double LocalNow(platform::Clock& clock) {
    const auto now = clock.Now();
    return text::ToOleDate(text::CivilTime(now, clock.UtcOffset(now))).value_or(0);
}

}  // namespace mailstore
