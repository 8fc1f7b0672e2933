#include "eumapi/mail_date.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "text/ascii.h"

namespace eumapi {

namespace {

using std::chrono::seconds;
using TimePoint = std::chrono::system_clock::time_point;

constexpr std::string_view kMonths = "janfebmaraprmayjunjulaugsepoctnovdec";
constexpr std::size_t kMostWords = 16;

struct Zone {
    std::string_view name;
    int hours;
};
constexpr Zone kZones[] = {{"est", -5}, {"edt", -4}, {"cst", -6}, {"cdt", -5},
                           {"mst", -7}, {"mdt", -6}, {"pst", -8}, {"pdt", -7}};

// Lower-case words, cut at blanks and commas, without comments.
std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> words(1);
    int comment = 0;
    for (const char letter : text) {
        if (letter == '(') ++comment;
        const bool isPart =
            comment == 0 && static_cast<unsigned char>(letter) > ' ' && letter != ',';
        if (letter == ')' && comment > 0) --comment;
        if (isPart) {
            words.back() += text::Lower(letter);
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
    if (text.empty() || text.size() > 4) return std::nullopt;
    int number = 0;
    for (const char letter : text) {
        if (!text::IsDigit(letter)) return std::nullopt;
        number = number * 10 + (letter - '0');
    }
    return number;
}

std::optional<int> Month(std::string_view word) {
    if (word.size() < 3) return std::nullopt;
    for (std::size_t i = 0; i < kMonths.size(); i += 3) {
        if (word.starts_with(kMonths.substr(i, 3))) return static_cast<int>(i / 3) + 1;
    }
    return std::nullopt;
}

std::optional<int> Year(std::string_view word) {
    auto year = Number(word);
    if (!year || word.size() < 2) return std::nullopt;
    if (word.size() == 2) *year += *year < 50 ? 2000 : 1900;
    if (word.size() == 3) *year += 1900;
    return *year > 0 ? year : std::nullopt;
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
    for (const auto& zone : kZones) {
        if (word == zone.name) return seconds(zone.hours * 3600);
    }
    // UT, GMT, the letters of the military, whose signs were told wrongly once, and all others.
    if (!word.empty() && text::IsLetter(word[0])) return seconds(0);
    return std::nullopt;
}

struct Parts {
    std::optional<int> year, month, day;
    std::optional<seconds> time, zone;
};

// Reads the words by what they look like, so that both forms come out of one loop.
Parts Recognise(const std::vector<std::string>& words) {
    Parts parts;
    for (const auto& word : words) {
        if (!parts.month && Month(word)) {
            parts.month = Month(word);
        } else if (!parts.time && TimeOfDay(word)) {
            parts.time = TimeOfDay(word);
        } else if (!parts.day && word.size() <= 2 && Number(word)) {
            parts.day = Number(word);
        } else if (!parts.year && parts.day && Year(word)) {
            parts.year = Year(word);
        } else if (parts.time && !parts.zone) {
            parts.zone = ZoneOffset(word);
        }
    }
    return parts;
}

// The clock tells local time's distance only for a moment; asked twice, it answers for the right
// one but within the hour that a change of summer time skips or repeats.
TimePoint FromLocal(TimePoint asUtc, platform::Clock& clock) {
    const TimePoint guess = asUtc - clock.UtcOffset(asUtc);
    return asUtc - clock.UtcOffset(guess);
}

}  // namespace

std::optional<TimePoint> ParseMailDate(std::string_view text, platform::Clock& clock) {
    const Parts parts = Recognise(Words(text));
    if (!parts.year || !parts.month || !parts.day || !parts.time) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(*parts.year),
                                           std::chrono::month(unsigned(*parts.month)),
                                           std::chrono::day(unsigned(*parts.day))};
    // Where every clock of ours can follow.
    if (!date.ok() || *parts.year < 1900 || *parts.year > 2200) return std::nullopt;
    const TimePoint asUtc = std::chrono::sys_days(date) + *parts.time;
    return parts.zone ? asUtc - *parts.zone : FromLocal(asUtc, clock);
}

SplitTime SplitLocal(TimePoint moment, platform::Clock& clock) {
    const auto local =
        std::chrono::floor<seconds>(moment) + std::chrono::seconds(clock.UtcOffset(moment));
    const auto days = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day date(days);
    const auto ofDay = static_cast<int>((local - days).count());
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            ofDay / 3600,
            ofDay / 60 % 60,
            ofDay % 60,
            static_cast<int>(std::chrono::weekday(days).c_encoding())};
}

std::string MapiDate(TimePoint moment, platform::Clock& clock) {
    const auto split = SplitLocal(moment, clock);
    char text[64];
    std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d", split.year, split.month, split.day,
                  split.hour, split.minute);
    return text;
}

}  // namespace eumapi
