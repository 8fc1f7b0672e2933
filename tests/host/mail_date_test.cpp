#include "host/mail/mail_date.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace host {
namespace {

using std::chrono::seconds;

std::string Message(double ole, int offset) {
    const auto local = FromOleDate(ole);
    return local ? MessageDate(*local, seconds(offset)) : "none";
}

TEST(MailDate, IsTheMomentOfTheOleDate) {
    struct Row {
        double ole;
        int offset;
        const char* message;
        const char* iso;
    };
    const Row rows[] = {
        {0, 0, "Sat, 30 Dec 1899 00:00:00 +0000", "1899-12-30T00:00:00"},
        {29222.0856943287, 9 * 3600, "Wed, 2 Jan 1980 02:03:24 +0900", "1980-01-02T02:03:24"},
        {36526.99999, -18000, "Sat, 1 Jan 2000 23:59:59 -0500", "2000-01-01T23:59:59"},
        // Rounded up into the next day, not to a second 60.
        {36526.9999999, 0, "Sun, 2 Jan 2000 00:00:00 +0000", "2000-01-02T00:00:00"},
        // In front of the first day the fraction still counts forward.
        {-1.25, 12600, "Fri, 29 Dec 1899 06:00:00 +0330", "1899-12-29T06:00:00"},
        {36585.5, -12600, "Tue, 29 Feb 2000 12:00:00 -0330", "2000-02-29T12:00:00"},
        {-657434, 0, "Fri, 1 Jan 0100 00:00:00 +0000", "0100-01-01T00:00:00"},
        {2958465, 0, "Fri, 31 Dec 9999 00:00:00 +0000", "9999-12-31T00:00:00"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.ole);
        EXPECT_EQ(Message(row.ole, row.offset), row.message);
        EXPECT_EQ(IsoDate(*FromOleDate(row.ole)), row.iso);
    }
}

TEST(MailDate, IsNothingOutsideTheYearsThatAMessageCanTell) {
    for (const double ole : {1.7e308, -1.7e308, 2958466.0, -657435.0, 1e10, std::nan(""),
                             std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Message(ole, 0), "none") << ole;
    }
}

}  // namespace
}  // namespace host
