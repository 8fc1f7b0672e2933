#include "text/calendar.h"

#include <cmath>

#include <gtest/gtest.h>

namespace test {

using std::chrono::seconds;

TEST(Calendar, OleDatesAreMoments) {
    const std::pair<double, const char*> rows[] = {
        {29222.0856943287, "1980-01-02T02:03:24"},
        // Rounded up into the next day, not to a second 60.
        {36526.9999999, "2000-01-02T00:00:00"},
        // In front of the first day the fraction still counts forward.
        {-1.25, "1899-12-29T06:00:00"},
        {36585.5, "2000-02-29T12:00:00"},
        {-657434.99, "0100-01-01T23:45:36"},
        {2958465.5, "9999-12-31T12:00:00"},
    };
    for (const auto& [ole, expected] : rows) {
        const auto time = text::FromOleDate(ole);
        ASSERT_TRUE(time) << ole;
        EXPECT_EQ(text::IsoText(*time), expected);
        const auto back = text::ToOleDate(*time);
        ASSERT_TRUE(back) << ole;
        EXPECT_EQ(text::FromOleDate(*back), *time);
    }
    for (const double ole : {1.7e308, 2958466.0, -657435.0, std::nan(""), HUGE_VAL}) {
        EXPECT_FALSE(text::FromOleDate(ole)) << ole;
    }
    EXPECT_FALSE(text::ToOleDate(std::chrono::local_days{std::chrono::year{10000} / 1 / 1}));
    EXPECT_FALSE(text::ToOleDate(std::chrono::local_days{std::chrono::year{99} / 12 / 31}));
}

TEST(Calendar, TimesHaveTexts) {
    const auto night = text::CivilTime(std::chrono::system_clock::from_time_t(5), seconds(-3600));
    EXPECT_EQ(text::Format("%a, %-d %b %Y %I:%M [%_m/%d] %H%S", night),
              "Wed, 31 Dec 1969 11:00 [12/31] 2305");
    EXPECT_EQ(text::Format("%-d/%-m %_d/%_m %I %a %b", night + seconds(3600)),
              "1/1  1/ 1 00 Thu Jan");
    EXPECT_EQ(text::Format("%I", night - std::chrono::hours(11)), "12");
    EXPECT_EQ(text::ZoneText(seconds(-12600)) + text::ZoneText(seconds(45900)), "-0330+1245");
}

TEST(Calendar, ReadsDatesOfMails) {
    const std::pair<const char*, const char*> rows[] = {
        {"Wed, 02 Jan 1980 02:03:55 +0900", "1980-01-02T02:03:55+0900"},
        {"2 Jan 1980 02:03 +0000", "1980-01-02T02:03:00+0000"},
        {"Fri, 31 Dec 1999 23:59:60 -0330", "1999-12-31T23:59:59-0330"},
        {"Sat, 29 Feb 2020 12:00:00 ut", "2020-02-29T12:00:00+0000"},
        {"Mon, 5 Jul 99 08:00:00 EDT", "1999-07-05T08:00:00-0400"},
        {"Mon, 5 Jul 49 08:00:00 Z", "2049-07-05T08:00:00+0000"},
        {"Mon, 5 Jul 104 08:00:00 PST", "2004-07-05T08:00:00-0800"},
        {"Mon, 5 Jul 2004 08:00:00 K", "2004-07-05T08:00:00+0000"},
        {"Mon (a, (comment) 7), 5 (x) July 2004 08:00:00 +0900 (JST)", "2004-07-05T08:00:00+0900"},
        {"Wed Jan 02 02:03:55 1980", "1980-01-02T02:03:55"},
        {"  wed,2 JAN 1980 2:3:5 +0900 ", "1980-01-02T02:03:05+0900"},
        {"Wed, 02 Jan 1980", ""},
        {"Thu, 30 Feb 2020 12:00:00 +0000", ""},
        {"1 Jan 2020 24:00:00 +0000", ""},
        {"1 Jan 99999 12:00 +0000", ""},
        {"1 Jan 1066 12:00 +0000", ""},
        {"", ""},
    };
    for (const auto& [mail, expected] : rows) {
        const auto date = text::ReadMailDate(mail);
        const auto zone = date && date->zone ? text::ZoneText(*date->zone) : "";
        EXPECT_EQ(date ? text::IsoText(date->time) + zone : "", expected) << mail;
    }
}

}  // namespace test
