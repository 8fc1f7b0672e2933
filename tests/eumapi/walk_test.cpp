#include <chrono>

#include "tests/eumapi/stand_in_fixture.h"

namespace {

TEST_F(StandInTest, WalksInTheOrderOfTheFile) {
    PutIds({7, 3, 0xFFFFFFFF, 1});
    EXPECT_EQ(Next(""), "0x00000007");
    EXPECT_EQ(Next("0x00000003"), "0xFFFFFFFF");
    EXPECT_EQ(Walk(), "7 3 4294967295 1 =16");
    PutIds({5, 5, 6, 5, 7, 6});
    EXPECT_EQ(Walk(), "5 6 7 =16") << "ends for duplicates";
    ASSERT_TRUE(machine.files.Delete(kInToc));
    EXPECT_EQ(Walk(), "=16");
}

TEST_F(StandInTest, RefusesWhatNamesNoMail) {
    PutIds({0, 1});
    for (const char* seed :
         {"0x00000002", "0x0000001", "0X00000001", "1", "garbage", "0x00000001 "})
        EXPECT_EQ(Next(seed), "=17") << seed;
    for (const char* id : {"", "0x00000002", "garbage"}) {
        MapiMessage* message = nullptr;
        EXPECT_EQ(library.ReadMail(session, id, mapi::kPeek, &message), mapi::kInvalidMessage)
            << id;
        EXPECT_EQ(library.DeleteMail(session, id), mapi::kInvalidMessage) << id;
    }
    char id[mapi::kMessageIdSize];
    EXPECT_EQ(library.FindNext(session, "IPM.Note", nullptr, kFindFlags, id), mapi::kSuccess);
    EXPECT_EQ(library.FindNext(session, "REPORT.IPM", nullptr, kFindFlags, id), mapi::kNoMessages);
}

TEST_F(StandInTest, KeepsSessionsApart) {
    mapi::Session second = 0;
    ASSERT_EQ(library.Logon(&second), mapi::kSuccess);
    EXPECT_NE(second, session);
    PutIds({1});
    EXPECT_EQ(library.Logoff(second), mapi::kSuccess);
    EXPECT_EQ(library.Logoff(second), mapi::kInvalidSession);
    char id[mapi::kMessageIdSize];
    MapiMessage* message = nullptr;
    for (const mapi::Session bad : {second, mapi::Session{0}, mapi::Session{99}}) {
        EXPECT_EQ(library.FindNext(bad, nullptr, nullptr, 0, id), mapi::kInvalidSession);
        EXPECT_EQ(library.ReadMail(bad, "0x00000001", 0, &message), mapi::kInvalidSession);
        EXPECT_EQ(library.DeleteMail(bad, "0x00000001"), mapi::kInvalidSession);
    }
    EXPECT_EQ(Walk(), "1 =16");
    EXPECT_EQ(library.Logon(nullptr), mapi::kFailure);
    platform::testing::TestSystem empty;
    EXPECT_EQ(eumapi::SimpleMapi(empty.system).Logon(&second), mapi::kLoginFailure);
}

TEST_F(StandInTest, FollowsTheFileWhileItChanges) {
    struct {
        std::vector<std::uint32_t> ids;
        const char *seed, *next, *why;
    } const steps[] = {
        {{1, 2, 3, 4, 5}, "0x00000002", "0x00000003", "as it stands"},
        {{1, 2, 5, 6}, "0x00000004", "0x00000005", "behind where a deleted one was"},
        {{1, 6}, "0x00000004", "0x00000006", "its neighbours went too"},
        {{1, 6}, "0x00000003", "0x00000006", "its neighbours went too"},
        {{6, 9}, "0x00000001", "0x00000006", "the first one went"},
        {{6, 4, 9}, "0x00000004", "0x00000009", "one that came back stands where it is"},
        {{}, "0x00000004", "=16", "all went"},
        {{8}, "0x00000009", "0x00000008", "another came"},
        {{8}, "0x00000077", "=17", "never seen"}};
    for (const auto& step : steps) {
        PutIds(step.ids);
        EXPECT_EQ(Next(step.seed), step.next) << step.why;
    }
}

TEST_F(StandInTest, FindsUnreadMailsOnly) {
    machine.files.Put(kInToc, Toc({Block(0, 0, 1, 1), Block(0, 0, 2, 0), Block(0, 0, 3, 2),
                                   Block(0, 0, 4, 8), Block(0, 0, 5, 0), Block(0, 0, 6, 1)}));
    EXPECT_EQ(Walk(kFindFlags | mapi::kUnreadOnly), "2 5 =16");
}

TEST_F(StandInTest, MeetsDamagedFiles) {
    const std::string two = Toc({Block(0, 0, 1), Block(0, 0, 2)});
    const struct {
        const char* what;
        std::string toc;
        const char* walk;
    } cases[] = {{"empty", "", "=16"},
                 {"50 bytes", two.substr(0, 50), "=16"},
                 {"header alone", two.substr(0, 104), "=16"},
                 {"second block short", two.substr(0, two.size() - 1), "1 =16"},
                 {"bytes behind the count", two + Block(0, 0, 3), "1 2 =16"},
                 {"Macintosh", std::string("\x00\x01", 2) + two.substr(2), "=26"}};
    for (const auto& one : cases) {
        machine.files.Put(kInToc, one.toc);
        EXPECT_EQ(Walk(), one.walk) << one.what;
        EXPECT_EQ(FileText(kInToc), one.toc) << one.what;
    }
}

TEST_F(StandInTest, LetsOthersUseTheFilesBetweenCalls) {
    PutMails({Mail("a"), Mail("b")});
    EXPECT_EQ(Walk(), "1 2 =16");
    ASSERT_NE(Read(1), nullptr);
    using platform::OpenMode;
    using platform::Share;
    EXPECT_TRUE(machine.files.Open(kInToc, OpenMode::kReadWrite, Share::kNone));
    EXPECT_TRUE(machine.files.Open(kInMbx, OpenMode::kReadWrite, Share::kRead));
    const auto held = machine.files.Open(kInToc, OpenMode::kReadWrite, Share::kNone);
    EXPECT_EQ(Next("0x00000001"), "0x00000002") << "unchanged, so not opened";
    machine.files.SetModified(kInToc, machine.clock.now + std::chrono::hours(1));
    EXPECT_EQ(Next("0x00000001"), "=2") << "worth another try";
}

// Each look costs one Stat, each step the same: the bound is far above what is needed and far below
// what a walk from the start would take for each.
TEST_F(StandInTest, WalksTheLargestMailbox) {
    std::vector<std::string> blocks;
    for (std::uint32_t i = 1; i <= mailbox::kMostMsgs; ++i) blocks.push_back(Block(0, 0, i * 3));
    machine.files.Put(kInToc, Toc(blocks));
    machine.faults.Disarm();
    const auto start = std::chrono::steady_clock::now();
    std::uint32_t count = 0;
    for (std::string id; (id = Next(id))[0] != '=';) ++count;
    EXPECT_EQ(count, mailbox::kMostMsgs);
    EXPECT_LT(machine.faults.Operations(), static_cast<int>(count) + 200);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(StandInTest, ReportsFailuresOfTheDisk) {
    PutMails({Mail("a")});
    for (int n = 1;; ++n) {
        machine.files.SetModified(kInToc, machine.clock.now + std::chrono::hours(n));
        machine.faults.Arm(platform::testing::Fault::kFail, n);
        const std::string first = Next("");
        machine.faults.Disarm();
        if (first == "0x00000001") break;
        EXPECT_EQ(first, "=2") << n;
        EXPECT_EQ(Next(""), "0x00000001") << n;
        ASSERT_LT(n, 20);
    }
}

}  // namespace
