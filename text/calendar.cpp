#include "text/calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "text/ascii.h"

namespace text {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::local_days;
using std::chrono::local_seconds;
using std::chrono::seconds;
using std::chrono::year_month_day;

constexpr local_days kOleEpoch{std::chrono::year{1899} / 12 / 30};
constexpr double kBeforeFirstDay = -657435;  // 0100-01-01 is -657434, whatever the time of day
constexpr double kAfterLastDay = 2958466;    // 9999-12-31 is 2958465
constexpr double kSecondsOfDay = 86400;

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Zone {
    std::string_view name;
    int hours;
};
constexpr Zone kZones[] = {{"est", -5}, {"edt", -4}, {"cst", -6}, {"cdt", -5},
                           {"mst", -7}, {"mdt", -6}, {"pst", -8}, {"pdt", -7}};

// Lower-case words, cut at blanks and commas, without comments.
std::vector<std::string> Words(std::string_view text) {
    constexpr std::size_t kMostWords = 16;
    std::vector<std::string> words(1);
    int comment = 0;
    for (const char letter : text) {
        if (letter == '(') ++comment;
        const bool isPart =
            comment == 0 && static_cast<unsigned char>(letter) > ' ' && letter != ',';
        if (letter == ')' && comment > 0) --comment;
        if (isPart) {
            words.back() += Lower(letter);
        } else if (!words.back().empty()) {
            if (words.size() == kMostWords) return words;
            words.emplace_back();
        }
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

// A number of up to four digits that is the whole text.
std::optional<int> Number(std::string_view text) {
    return text.size() <= 4 && std::ranges::all_of(text, IsDigit) ? NumberIn<int>(text)
                                                                  : std::nullopt;
}

std::optional<unsigned> Month(std::string_view word) {
    for (unsigned i = 0; i < std::size(kMonths); ++i) {
        if (StartsWithNoCase(word, kMonths[i])) return i + 1;
    }
    return std::nullopt;
}

std::optional<int> Year(std::string_view word) {
    auto year = Number(word);
    if (!year || word.size() < 2) return std::nullopt;
    if (word.size() == 2) *year += *year < 50 ? 2000 : 1900;
    if (word.size() == 3) *year += 1900;
    return year;
}

// "2:03" or "02:03:55"; a leap second counts as the one before.
std::optional<seconds> TimeOfDay(std::string_view word) {
    std::array<int, 3> parts{};
    std::size_t count = 0;
    for (;;) {
        const auto colon = word.find(':');
        const auto part = Number(word.substr(0, colon));
        if (!part || count == parts.size()) return std::nullopt;
        parts[count++] = *part;
        if (colon == word.npos) break;
        word.remove_prefix(colon + 1);
    }
    if (count < 2 || parts[0] > 23 || parts[1] > 59 || parts[2] > 60) return std::nullopt;
    return seconds(parts[0] * 3600 + parts[1] * 60 + std::min(parts[2], 59));
}

// The distance from UTC; nothing if the word is no zone.
std::optional<seconds> ZoneOffset(std::string_view word) {
    if (word.size() == 5 && (word[0] == '+' || word[0] == '-')) {
        const auto number = Number(word.substr(1));
        if (!number) return std::nullopt;
        const seconds offset((*number / 100 * 60 + *number % 100) * 60);
        return word[0] == '-' ? -offset : offset;
    }
    const auto zone = std::ranges::find(kZones, word, &Zone::name);
    if (zone != std::end(kZones)) return std::chrono::hours(zone->hours);
    // UT, GMT, the letters of the military, whose signs were told wrongly once, and all others.
    if (!word.empty() && IsLetter(word[0])) return seconds(0);
    return std::nullopt;
}

}  // namespace

local_seconds CivilTime(std::chrono::system_clock::time_point instant, seconds offset) {
    return local_seconds(floor<seconds>(instant).time_since_epoch() + offset);
}

std::string Format(std::string_view pattern, local_seconds time) {
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const std::chrono::hh_mm_ss<seconds> ofDay(time - day);
    const long hour = ofDay.hours().count();
    const std::pair<char, long> numbers[] = {{'Y', static_cast<int>(date.year())},
                                             {'m', static_cast<unsigned>(date.month())},
                                             {'d', static_cast<unsigned>(date.day())},
                                             {'H', hour},
                                             {'I', hour > 12 ? hour - 12 : hour},
                                             {'M', ofDay.minutes().count()},
                                             {'S', static_cast<long>(ofDay.seconds().count())}};
    std::string out;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] != '%') {
            out += pattern[at];
            continue;
        }
        char letter = pattern[++at], pad = '0';
        if (letter == '-' || letter == '_') {
            pad = letter == '_' ? ' ' : '-';
            letter = pattern[++at];
        }
        if (letter == 'a') {
            out += kDays[std::chrono::weekday(day).c_encoding()];
        } else if (letter == 'b') {
            out += kMonths[static_cast<unsigned>(date.month()) - 1];
        } else {
            const auto part = std::ranges::find(numbers, letter, &std::pair<char, long>::first);
            const std::string digits = std::to_string(part->second);
            const std::size_t width = pad == '-' ? 0 : letter == 'Y' ? 4 : 2;
            out.append(std::max(width, digits.size()) - digits.size(), pad) += digits;
        }
    }
    return out;
}

std::string IsoText(local_seconds time) {
    return Format("%Y-%m-%dT%H:%M:%S", time);
}

std::string IsoText(local_seconds time, seconds offset) {
    return IsoText(time) + ZoneText(offset).insert(3, ":");
}

std::string ZoneText(seconds offset) {
    const local_seconds distance(std::chrono::abs(offset));
    return (offset < seconds(0) ? '-' : '+') + Format("%H%M", distance);
}

bool IsOleDate(double date) {
    return date > kBeforeFirstDay && date < kAfterLastDay;
}

std::optional<local_seconds> FromOleDate(double date) {
    if (!IsOleDate(date)) return std::nullopt;
    const double day = std::trunc(date);
    const double ofDay = std::round(std::fabs(date - day) * kSecondsOfDay);
    return kOleEpoch + days(static_cast<int>(day)) + seconds(static_cast<int>(ofDay));
}

std::optional<double> ToOleDate(local_seconds time) {
    const auto day = floor<days>(time);
    const auto date = static_cast<double>((day - kOleEpoch).count());
    if (!IsOleDate(date)) return std::nullopt;
    const double ofDay = static_cast<double>((time - day).count()) / kSecondsOfDay;
    return date < 0 ? date - ofDay : date + ofDay;
}

// Takes the words by what they look like, so that both forms come out of one loop.
std::optional<MailDate> ReadMailDate(std::string_view text) {
    std::optional<int> year, day;
    std::optional<unsigned> month;
    std::optional<seconds> time, zone;
    for (const std::string& word : Words(text)) {
        if (!month && Month(word)) {
            month = Month(word);
        } else if (!time && TimeOfDay(word)) {
            time = TimeOfDay(word);
        } else if (!day && word.size() <= 2 && Number(word)) {
            day = Number(word);
        } else if (!year && day && Year(word)) {
            year = Year(word);
        } else if (time && !zone) {
            zone = ZoneOffset(word);
        }
    }
    if (!year || !month || !day || !time || *year < 1900 || *year > 2200) return std::nullopt;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(*month),
                              std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return std::nullopt;
    return MailDate{local_days(date) + *time, zone};
}

}  // namespace text
