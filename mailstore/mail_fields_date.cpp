#include "mailstore/mail_fields_date.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>

#include "text/ascii.h"
#include "text/calendar.h"

namespace {

using namespace std::chrono;

// The digits that the text begins with; 0 without any. No larger than what no date piece has.
long NumberOf(const std::string& text) {
    return std::clamp(std::strtol(text.c_str(), nullptr, 10), -1L, 10'000L);
}

bool IsWithin(long value, long lowest, long highest) {
    return value >= lowest && value <= highest;
}

}  // namespace

namespace mailstore {

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
