#include "host/mail/mail_date.h"

#include <cmath>
#include <cstdio>

namespace host::mail {

namespace {

using std::chrono::days;
using std::chrono::seconds;

constexpr double kFirstDay = -657434;     // 0100-01-01
constexpr double kPastLastDay = 2958466;  // 10000-01-01
constexpr std::chrono::local_days kEpoch{std::chrono::year{1899} / 12 / 30};
constexpr const char* kDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Split {
    std::chrono::local_days day;
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<seconds> time;

    explicit Split(LocalSeconds local)
        : day(std::chrono::floor<days>(local)), date(day), time(local - day) {}
    int Year() const { return static_cast<int>(date.year()); }
    unsigned Month() const { return static_cast<unsigned>(date.month()); }
    unsigned Day() const { return static_cast<unsigned>(date.day()); }
    int Hour() const { return static_cast<int>(time.hours().count()); }
    int Minute() const { return static_cast<int>(time.minutes().count()); }
    int Second() const { return static_cast<int>(time.seconds().count()); }
};

}  // namespace

std::optional<LocalSeconds> FromOleDate(double date) {
    if (!(date >= kFirstDay && date < kPastLastDay)) return std::nullopt;
    const double whole = std::trunc(date);
    const double ofDay = std::round(std::fabs(date - whole) * 86400);
    return kEpoch + days(static_cast<int>(whole)) + seconds(static_cast<int>(ofDay));
}

std::optional<double> ToOleDate(LocalSeconds local) {
    const auto day = std::chrono::floor<days>(local);
    const auto whole = static_cast<double>((day - kEpoch).count());
    if (!(whole >= kFirstDay && whole < kPastLastDay)) return std::nullopt;
    const double ofDay = static_cast<double>((local - day).count()) / 86400;
    return whole < 0 ? whole - ofDay : whole + ofDay;
}

std::string MessageDate(LocalSeconds local, seconds offset) {
    const Split at(local);
    const auto minutes = std::abs(std::chrono::duration_cast<std::chrono::minutes>(offset).count());
    char text[64];
    std::snprintf(text, sizeof text, "%s, %d %s %04d %02d:%02d:%02d %c%02d%02d",
                  kDayNames[std::chrono::weekday(at.day).c_encoding()], static_cast<int>(at.Day()),
                  kMonthNames[at.Month() - 1], at.Year(), at.Hour(), at.Minute(), at.Second(),
                  offset < seconds(0) ? '-' : '+', static_cast<int>(minutes / 60 % 100),
                  static_cast<int>(minutes % 60));
    return text;
}

std::string IsoDate(LocalSeconds local) {
    const Split at(local);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", at.Year(), at.Month(),
                  at.Day(), at.Hour(), at.Minute(), at.Second());
    return text;
}

}  // namespace host::mail
