#include "mailstore/mail_fields_date.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>

namespace {

using namespace std::chrono;

constexpr sys_days kDayZero{year{1899} / December / 30};
constexpr long kMinutesPerDay = 24 * 60;

// The text up to the delimiter, behind the delimiters that it begins with; takes both off `rest`.
// Nothing if only delimiters are left.
std::optional<std::string> NextPiece(std::string_view& rest, char delimiter) {
    const auto begin = rest.find_first_not_of(delimiter);
    if (begin == std::string_view::npos) return std::nullopt;
    const auto end = std::min(rest.find(delimiter, begin), rest.size());
    std::string piece(rest.substr(begin, end - begin));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return piece;
}

// The digits that the text begins with; 0 without any. No larger than what no date piece has.
long NumberOf(const std::string& text) {
    return std::clamp(std::strtol(text.c_str(), nullptr, 10), -1L, 10'000L);
}

bool IsWithin(long value, long lowest, long highest) {
    return value >= lowest && value <= highest;
}

std::optional<sys_days> DayOf(long y, long m, long d) {
    if (!IsWithin(y, 100, 9999) || !IsWithin(m, 1, 12) || !IsWithin(d, 1, 31)) return std::nullopt;
    const year_month_day date{year{static_cast<int>(y)}, month{static_cast<unsigned>(m)},
                              day{static_cast<unsigned>(d)}};
    if (!date.ok()) return std::nullopt;
    return sys_days{date};
}

}  // namespace

namespace mailstore {

std::optional<double> ParseDate(std::string_view text) {
    long pieces[5];
    const char* delimiter = "// ::";
    for (long& number : pieces) {
        const auto piece = NextPiece(text, *delimiter++);
        if (!piece) return std::nullopt;
        number = NumberOf(*piece);
    }
    const auto date = DayOf(pieces[0], pieces[1], pieces[2]);
    if (!date || !IsWithin(pieces[3], 0, 23) || !IsWithin(pieces[4], 0, 59)) return std::nullopt;
    const auto days = static_cast<double>((*date - kDayZero).count());
    const double time = static_cast<double>(pieces[3] * 60 + pieces[4]) / kMinutesPerDay;
    // Before day zero, too, the fraction counts forward from midnight.
    return days < 0 ? days - time : days + time;
}

double LocalNow(platform::Clock& clock) {
    const auto now = clock.Now();
    const auto local = floor<seconds>(now) + clock.UtcOffset(now);
    return static_cast<double>((local - kDayZero).count()) / (kMinutesPerDay * 60);
}

}  // namespace mailstore
