#include <gmock/gmock.h>

#include "tests/mailstore/reading_fixture.h"

namespace {

using namespace std::chrono;
using Strings = std::vector<std::string>;

class WalkTest : public ReadingTest {
  protected:
    // Mails whose letters say whether the size limit of 1 KB lets them pass: 'p', or not: 'f'.
    void AddMails(std::string_view kinds) {
        for (const char kind : kinds) AddMail().note = std::string(kind == 'p' ? 1024 : 1025, 'x');
        mail.m_appInfo.m_bLimitMailSize = 1;
        mail.m_appInfo.m_nMailLimitKB = 1;
    }
    // The ids that a walk meets, with the code that ended it.
    std::string Walk() {
        std::string ids;
        auto code = mail.MoveFirst();
        for (; code == RRC_OK; code = mail.MoveNext()) ids += Id().substr(8) + ' ';
        return ids + std::to_string(code);
    }
    int CostOfGoingTo(const char* id) {
        const int before = library.finds;
        EXPECT_EQ(mail.GoToRecord(id), RRC_OK) << id;
        EXPECT_EQ(Id(), id);
        return library.finds - before;
    }
};

TEST_F(WalkTest, FilteredMailsAreNeverSeen) {
    EXPECT_EQ(Walk(), "5");
    AddMails("pffpfp");
    EXPECT_EQ(Walk(), "01 04 06 5");
    library.mails.clear();
    AddMails("ffpf");
    EXPECT_EQ(Walk(), "03 5");
    library.mails.clear();
    AddMails("ff");
    EXPECT_EQ(Walk(), "5");
    mail.m_appInfo.m_bLimitMailSize = 0;
    EXPECT_EQ(Walk(), "01 02 5");
}

TEST_F(WalkTest, ManyFilteredMailsNeedNoStack) {
    for (int i = 0; i < 65'000; ++i) AddMail().note = "xx";
    AddMail().note = "";
    mail.m_appInfo.m_bLimitMailSize = 1;
    mail.m_appInfo.m_nMailLimitKB = 0;
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(Id(), "0x0000FDE9");
    EXPECT_EQ(library.finds, 65'001);
    EXPECT_EQ(library.reads, 65'001);
    EXPECT_EQ(mail.MoveNext(), RRC_EOF);
}

TEST_F(WalkTest, GoingToMailsInOrderCostsTwoSearchesEach) {
    for (int i = 0; i < 200; ++i) AddMail();
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    for (int i = 1; i < 200; ++i) {
        EXPECT_EQ(CostOfGoingTo(library.mails[i].id.c_str()), 2) << i;
    }
}

// The seek point lies right before the mail that passed, not where the host's move began; from
// there the walk goes on, after one look at the first mail.
TEST_F(WalkTest, TheSeekPointMovesWithTheFilteredWalk) {
    AddMails("pfffpppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    ASSERT_EQ(Id(), "0x00000005");
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1 + 2);
    library.mails.clear();
    AddMails("fffppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(Id(), "0x00000004");
    EXPECT_EQ(CostOfGoingTo("0x00000005"), 1 + 2);
    // Later moves leave the seek point where it is.
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1 + 3);
}

TEST_F(WalkTest, GoingToAMailAppliesNoFilter) {
    AddMails("fpf");
    EXPECT_EQ(mail.GoToRecord("0x00000003"), RRC_OK);
    EXPECT_EQ(Id(), "0x00000003");
    EXPECT_EQ(mail.GoToRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(Number("9"), 1025);
    EXPECT_EQ(mail.GoToRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(DrainErrors().size(), 1U);
    EXPECT_EQ(mail.GoToRecord(nullptr), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Strings{"invalid record"});
}

TEST_F(WalkTest, TheEmptyIdAddressesWhatIsSent) {
    AddMails("p");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    const int before = library.finds;
    const LogCapture log;
    EXPECT_EQ(mail.GoToRecord(""), RRC_OK);
    EXPECT_EQ(Id(), "");
    CString marker("old");
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK);
    EXPECT_TRUE(marker.IsEmpty());
    EXPECT_EQ(library.finds, before) << "without moving";
    EXPECT_TRUE(LogCapture::Has("1 - Enter - CREudoraMail::GoToRecord()\n"));
    EXPECT_TRUE(LogCapture::Has("5 CREudoraMail::GoToRecord IsOutBox - m_bOutBox = 0\n"));
    EXPECT_EQ(mail.GoToRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(Id(), "0x00000001");
}

TEST_F(WalkTest, FailuresOfTheLibraryEndTheMove) {
    AddMails("pp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    library.badRead = "0x00000002";
    EXPECT_EQ(mail.MoveNext(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Strings{"invalid message"});
    library.failFinds = mapi::kInvalidMessage;
    EXPECT_EQ(mail.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Strings{"invalid message"});
    library.failFinds = 0;
}

TEST_F(WalkTest, SizesAreComparedWithSign) {
    struct Row {
        int limitKB, size;
        int passes;
    };
    const Row rows[] = {{1, 1024, 1},     {1, 1025, 0}, {0, 0, 1},
                        {0, 1, 0},        {-1, 0, 0},   {INT32_MAX, 2'000'000, 1},
                        {INT32_MIN, 0, 0}};
    for (const Row& row : rows) {
        mail.m_appInfo.m_bLimitMailSize = 0;
        FakeMail one;
        one.note = std::string(static_cast<std::size_t>(row.size), 'x');
        Show(one);
        mail.m_appInfo.m_bLimitMailSize = 1;
        mail.m_appInfo.m_nMailLimitKB = row.limitKB;
        EXPECT_EQ(mail.PassesFilters(), row.passes) << row.limitKB << ' ' << row.size;
    }
}

TEST_F(WalkTest, AgesAreCountedInLocalDays) {
    const auto at = [](int y, unsigned m, unsigned d, minutes time) {
        return sys_days{year{y} / static_cast<int>(m) / static_cast<int>(d)} + time;
    };
    struct Row {
        system_clock::time_point now;
        minutes offset;
        int days;
        const char* date;
        int passes;
    };
    const Row rows[] = {
        {at(2004, 3, 10, 15h), 0h, 7, "2004/03/04 00:00", 1},
        {at(2004, 3, 10, 15h), 0h, 7, "2004/03/03 23:59", 0},
        {at(2004, 3, 10, 0h), 0h, 7, "2004/03/03 00:00", 1},
        {at(2004, 3, 10, 0h) + 999ms, 0h, 7, "2004/03/03 00:00", 1},
        {at(2004, 3, 10, 0h) + 1s, 0h, 7, "2004/03/03 23:59", 0},
        {at(2004, 3, 10, 23h + 30min), 1h, 7, "2004/03/04 12:00", 0},
        {at(2004, 3, 10, 23h + 30min), 0h, 7, "2004/03/04 12:00", 1},
        {at(2004, 3, 10, 30min), -1h, 7, "2004/03/03 00:00", 1},
        {at(2004, 3, 10, 30min), -1h, 7, "2004/03/02 23:59", 0},
        // The days of a change of the clocks: midnight counts in the offset of now.
        {at(2004, 3, 28, 22h), 2h, 1, "2004/03/28 00:00", 1},
        {at(2004, 3, 27, 23h), 1h, 1, "2004/03/27 00:00", 1},
        {at(2004, 3, 27, 23h) + 1s, 1h, 1, "2004/03/27 23:00", 0},
        {at(2004, 10, 31, 23h) + 1s, 1h, 1, "2004/10/31 00:00", 0},
        {at(2004, 10, 31, 22h + 59min), 1h, 1, "2004/10/31 00:00", 1},
        {at(2004, 3, 10, 15h), 0h, 0, "2004/03/10 23:59", 0},
        {at(2004, 3, 10, 15h), 0h, 0, "2004/03/11 00:00", 1},
        {at(2004, 3, 10, 15h), 0h, -1, "2004/03/11 00:00", 0},
        {at(2004, 3, 10, 15h), 0h, 0, "1890/01/01 18:00", 0},
        {at(2004, 3, 10, 15h), 0h, 50'000, "1890/01/01 18:00", 1},
        {at(2004, 3, 10, 15h), 0h, INT32_MAX, "0100/01/01 00:00", 1},
        {at(2004, 3, 10, 15h), 0h, INT32_MIN, "9999/12/31 00:00", 0},
        {at(2004, 3, 10, 15h), 0h, 7, "no date", 1},
    };
    for (const Row& row : rows) {
        machine.clock.now = row.now;
        machine.clock.offset = row.offset;
        mail.m_appInfo.m_bLimitMailAge = 0;
        FakeMail one;
        one.date = row.date;
        Show(one);
        mail.m_appInfo.m_bLimitMailAge = 1;
        mail.m_appInfo.m_nMailAgeDays = row.days;
        EXPECT_EQ(mail.PassesFilters(), row.passes) << row.date << ' ' << row.days;
    }
    EXPECT_EQ(DrainErrors(), Strings{"invalid date"});
    Show({});
    EXPECT_EQ(mail.PassesFilters(), 1) << "no date at all";
}

}  // namespace
