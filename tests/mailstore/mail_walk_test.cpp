#include "tests/mailstore/reading_fixture.h"

namespace {

using namespace std::chrono;

class WalkTest : public ReadingTest {
  protected:
    // Mails whose letters say whether the size limit of 1 KB lets them pass: 'p', or not: 'f'.
    void SetMails(std::string_view kinds) {
        library.mailbox.clear();
        for (const char kind : kinds) AddMail().note = std::string(kind == 'p' ? 1024 : 1025, 'x');
        mail.m_appInfo.m_bLimitMailSize = 1;
        mail.m_appInfo.m_nMailLimitKB = 1;
    }
    // The ids that a walk meets, with the code that ended it.
    std::string Walk() {
        std::string ids;
        auto code = mail.MoveFirst();
        for (; code == RRC_OK; code = mail.MoveNext()) ids += Id().substr(9) + ' ';
        return ids + std::to_string(code);
    }
    std::size_t CostOfGoingTo(const std::string& id) {
        library.calls.clear();
        EXPECT_EQ(mail.GoToRecord(id.c_str()), RRC_OK) << id;
        EXPECT_EQ(Id(), id);
        return library.Count("find");
    }
};

TEST_F(WalkTest, FilteredMailsAreNeverSeen) {
    for (const auto& [kinds, walk] :
         {std::pair{"", "5"}, {"pffpfp", "1 4 6 5"}, {"ffpf", "3 5"}, {"ff", "5"}, {"p", "1 5"}}) {
        SetMails(kinds);
        EXPECT_EQ(Walk(), walk) << kinds;
    }
}

TEST_F(WalkTest, ManyFilteredMailsNeedNoStack) {
    SetMails("");
    for (int i = 0; i < 65'000; ++i) AddMail().note = "xx";
    AddMail();
    mail.m_appInfo.m_nMailLimitKB = 0;
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(Id(), "0x0000FDE9");
    EXPECT_EQ(library.Count("find"), 65'001U);
    EXPECT_EQ(library.Count("read"), 65'001U);
    EXPECT_EQ(mail.MoveNext(), RRC_EOF);
}

TEST_F(WalkTest, GoingToMailsInOrderCostsTwoSearchesEach) {
    SetMails(std::string(200, 'p'));
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    for (std::size_t i = 1; i < 200; ++i) EXPECT_EQ(CostOfGoingTo(library.mailbox[i].id), 2U) << i;
}

// The seek point lies right before the mail that passed, not where the host's move began; from
// there the walk goes on, after one look at the first mail.
TEST_F(WalkTest, TheSeekPointMovesWithTheFilteredWalk) {
    SetMails("pfffpppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1U + 2);
    SetMails("fffppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000005"), 1U + 2);
    // Later moves leave the seek point where it is.
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1U + 3);
}

TEST_F(WalkTest, GoingToAMailAppliesNoFilter) {
    SetMails("fpf");
    for (const char* id : {"0x00000003", "0x00000001"}) {
        EXPECT_EQ(mail.GoToRecord(id), RRC_OK);
        EXPECT_EQ(Id(), id);
    }
    EXPECT_EQ(mail.GoToRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(mail.GoToRecord(nullptr), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m31", "m58"}));
}

TEST_F(WalkTest, TheEmptyIdAddressesWhatIsSent) {
    SetMails("p");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo(""), 0U) << "without moving";
    CString marker("old");
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK);
    EXPECT_TRUE(marker.IsEmpty());
    EXPECT_EQ(mail.GoToRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(Id(), "0x00000001");
}

TEST_F(WalkTest, FailuresOfTheLibraryEndTheMove) {
    SetMails("pp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    library.results[mapi::Entry::kReadMail] = {mapi::kInvalidMessage};
    EXPECT_EQ(mail.MoveNext(), RRC_FAILED);
    library.results[mapi::Entry::kFindNext] = {mapi::kInvalidMessage};
    EXPECT_EQ(mail.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m32", "m32"}));
}

TEST_F(WalkTest, SizesAreComparedWithSign) {
    struct Row {
        int limitKB, size, passes;
    };
    for (const Row& row : {Row{1, 1024, 1}, {1, 1025, 0}, {-1, 0, 0}, {INT32_MIN, 0, 0}}) {
        mail.m_appInfo.m_bLimitMailSize = 0;
        Show({.note = std::string(static_cast<std::size_t>(row.size), 'x')});
        mail.m_appInfo.m_bLimitMailSize = 1;
        mail.m_appInfo.m_nMailLimitKB = row.limitKB;
        EXPECT_EQ(mail.PassesFilters(), row.passes) << row.limitKB << ' ' << row.size;
    }
}

TEST_F(WalkTest, AgesAreCountedInLocalDays) {
    const auto march = [](unsigned day, minutes time) {
        return sys_days{year{2004} / March / static_cast<int>(day)} + time;
    };
    struct Row {
        system_clock::time_point now;
        minutes offset;
        int days;
        const char* date;
        int passes;
    };
    const Row rows[] = {
        {march(10, 15h), 0h, 7, "2004/03/04 00:00", 1},
        {march(10, 15h), 0h, 7, "2004/03/03 23:59", 0},
        {march(10, 0h) + 1s, 0h, 7, "2004/03/03 23:59", 0},
        {march(10, 23h + 30min), 1h, 7, "2004/03/04 12:00", 0},
        {march(10, 30min), -1h, 7, "2004/03/02 23:59", 0},
        // The day of a change of the clocks: midnight counts in the offset of now.
        {march(28, 22h), 2h, 1, "2004/03/28 00:00", 1},
        {march(10, 15h), 0h, 0, "2004/03/10 23:59", 0},
        {march(10, 15h), 0h, INT32_MAX, "0100/01/01 00:00", 1},
        {march(10, 15h), 0h, INT32_MIN, "9999/12/31 00:00", 0},
        {march(10, 15h), 0h, 7, "no date", 1},
    };
    for (const Row& row : rows) {
        machine.clock.now = row.now;
        machine.clock.offset = row.offset;
        mail.m_appInfo.m_bLimitMailAge = 0;
        Show({.date = row.date});
        mail.m_appInfo.m_bLimitMailAge = 1;
        mail.m_appInfo.m_nMailAgeDays = row.days;
        EXPECT_EQ(mail.PassesFilters(), row.passes) << row.date << ' ' << row.days;
    }
    EXPECT_EQ(DrainErrors(), Texts{"m75"});
    Show({});
    EXPECT_EQ(mail.PassesFilters(), 1) << "no date at all";
}

}  // namespace
