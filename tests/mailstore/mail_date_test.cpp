#include "mailstore/mail_date.h"

#include <gtest/gtest.h>

#include "platform/testing/fixed_clock.h"
#include "tests/mailstore/mail_date_table.h"

namespace {

using mailstore::ConvertMailDate;
using std::chrono::minutes;

TEST(MailDate, AllFormsInManyZones) {
    for (const DateRow& row : kDateRows) {
        SCOPED_TRACE(std::string(row.zone) + ' ' + row.text);
        platform::testing::FixedClock clock;
        clock.offset = minutes(row.offset);
        clock.standardOffset = minutes(row.standard);
        const auto date = ConvertMailDate(row.text, clock, row.isJapanese);
        EXPECT_EQ(date.separatorDate, row.separator);
        EXPECT_EQ(date.line, row.Line());
        EXPECT_EQ(date.szDate, row.shown);
        EXPECT_EQ(date.dwSeconds, row.seconds);
    }
}

TEST(MailDate, NoDateIsTheTimeOfWriting) {
    platform::testing::FixedClock clock;
    clock.now = std::chrono::system_clock::from_time_t(1783159205);  // 2026-07-04 10:00:05 UTC
    clock.offset = minutes(120);
    clock.standardOffset = minutes(60);
    for (const char* text : {static_cast<const char*>(nullptr), "", "nan", "inf", "x", "2958466.0",
                             "-657435.0", "1e300"}) {
        const auto date = ConvertMailDate(text, clock, false);
        EXPECT_EQ(date.line, "Date: Sat, 04 Jul 2026 12:00:05 +0100") << (text ? text : "null");
    }
}

TEST(MailDate, TheEndsOfWhatADateCanBe) {
    platform::testing::FixedClock clock;
    const auto separator = [&](const char* text) {
        return ConvertMailDate(text, clock, false).separatorDate;
    };
    EXPECT_EQ(separator("2958465.999999"), "Sat Jan 01 00:00:00 10000") << "rounded up";
    EXPECT_EQ(separator("2958465.5"), "Fri Dec 31 12:00:00 9999");
    EXPECT_EQ(separator("-657434.25"), "Fri Jan 01 06:00:00 0100");
    EXPECT_EQ(separator("-1.75"), "Fri Dec 29 18:00:00 1899") << "the time counts forward";
    EXPECT_LE(ConvertMailDate("-657434.9", clock, true).szDate.size(), 31U);
}

}  // namespace
