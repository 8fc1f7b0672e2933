#include "mailstore/mail_date.h"

#include <gtest/gtest.h>

#include "platform/testing/fixed_clock.h"

namespace {

using mailstore::ConvertMailDate;
using std::chrono::minutes;

// What a mailbox holds of a date in a zone, worked out by the steps of the C library: the local
// time as standard time to UTC, the fields of UTC as local time again, the fields of that.
struct Row {
    int standard;  // minutes east in standard time
    int offset;    // and at that time
    const char* text;
    bool isJapanese;
    const char* separator;
    const char* shown;
    std::uint32_t seconds;
};

// clang-format off
constexpr Row kRows[] = {
    {0, 0, "36585.54522", false, "Tue Feb 29 13:05:07 2000", "01:05 PM 2/29/100 +0000", 951829507U},
    {0, 0, "75279.26963", false, "Sun Feb 07 06:28:16 2106", "06:28 AM 2/7/206 +0000", 4294967295U},
    {0, 0, "0", false, "Sat Dec 30 00:00:00 1899", "00:00 AM 12/30/-1 +0000", 0U},
    {0, 0, "37017.541655", false, "Sun May 06 12:59:59 2001", "12:59 AM 5/6/101 +0000", 989153999U},
    {-210, -210, "25569", false, "Thu Jan 01 00:00:00 1970", "03:30 AM 1/1/70 -0330", 25200U},
    {765, 765, "50424.509815", false, "Tue Jan 19 12:14:08 2038", "11:29 PM 1/18/138 +1245", 2147424248U},
    {540, 540, "46082.170208", true, "Sun Mar 01 04:05:06 2026", "19:05: 6 2/28/126 +0900", 1772273106U},
    {-300, -240, "46089.125", false, "Sun Mar 08 03:00:00 2026", "09:00 AM 3/8/126 -0500", 1772974800U},
    {60, 120, "46320.104167", false, "Sun Oct 25 02:30:00 2026", "02:30 AM 10/25/126 +0100", 1792888200U},
};
// clang-format on

TEST(MailDate, AllFormsInManyZones) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(std::to_string(row.standard) + ' ' + row.text);
        platform::testing::FixedClock clock;
        clock.offset = minutes(row.offset);
        clock.standardOffset = minutes(row.standard);
        const auto date = ConvertMailDate(row.text, clock, row.isJapanese);
        EXPECT_EQ(date.separatorDate, row.separator);
        EXPECT_EQ(date.szDate, row.shown);
        EXPECT_EQ(date.dwSeconds, row.seconds);
    }
}

TEST(MailDate, WhatIsNoDateIsTheTimeOfWriting) {
    platform::testing::FixedClock clock;
    for (const auto& [text, separator] :
         {std::pair{"2958465.999999", "Sat Jan 01 00:00:00 10000"},
          {"-657434.25", "Fri Jan 01 06:00:00 0100"},
          {static_cast<const char*>(nullptr), "Thu Jan 01 00:00:00 1970"},
          {"x", "Thu Jan 01 00:00:00 1970"},
          {"2958466.0", "Thu Jan 01 00:00:00 1970"}}) {
        EXPECT_EQ(ConvertMailDate(text, clock, false).separatorDate, separator);
    }
    EXPECT_LE(ConvertMailDate("-657434.9", clock, true).szDate.size(), 31U);
}

// A zone that has left out the time.
class LeapingClock : public platform::testing::FixedClock {
  public:
    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds) override {
        return std::nullopt;
    }
};

TEST(MailDate, ATimeThatIsNoneHasWhatHoldsThen) {
    LeapingClock clock;
    clock.offset = minutes(-600);
    EXPECT_EQ(ConvertMailDate("29129", clock, false).line, "Date: Mon, 01 Oct 1979 00:00:00 -1000");
}

}  // namespace
