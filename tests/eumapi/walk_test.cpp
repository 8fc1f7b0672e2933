#include <chrono>

#include "tests/eumapi/stand_in_fixture.h"

namespace {

TEST_F(StandInTest, WalksInTheOrderOfTheFile) {
    const std::string two = Toc({Block(0, 0, 1), Block(0, 0, 2)});
    const struct {
        const char* what;
        std::string toc;
        const char *walk, *unread;
    } cases[] = {
        {"any order", Toc({Block(0, 0, 7), Block(0, 0, ~0U, 1), Block(0, 0, 1, 8)}),
         "7 4294967295 1 =16", "7 =16"},
        {"duplicates", Toc({Block(0, 0, 5), Block(0, 0, 5), Block(0, 0, 6), Block(0, 0, 5)}),
         "5 6 =16", "5 6 =16"},
        {"empty", "", "=16", "=16"},
        {"50 bytes", two.substr(0, 50), "=16", "=16"},
        {"header alone", two.substr(0, 104), "=16", "=16"},
        {"second block short", two.substr(0, two.size() - 1), "1 =16", "1 =16"},
        {"bytes behind the count", two + Block(0, 0, 3), "1 2 =16", "1 2 =16"},
        {"Macintosh", std::string("\x00\x01", 2) + two.substr(2), "=26", "=26"}};
    for (const auto& one : cases) {
        machine.files.Put(kInToc, one.toc);
        EXPECT_EQ(Walk(), one.walk) << one.what;
        EXPECT_EQ(Walk(kFindFlags | mapi::kUnreadOnly), one.unread) << one.what;
        EXPECT_EQ(FileText(kInToc), one.toc) << one.what;
    }
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
    EXPECT_EQ(library.FindNext(second, nullptr, nullptr, 0, id), mapi::kInvalidSession);
    EXPECT_EQ(library.ReadMail(second, "0x00000001", 0, &message), mapi::kInvalidSession);
    EXPECT_EQ(library.DeleteMail(second, "0x00000001"), mapi::kInvalidSession);
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

// Each step costs one Stat, wherever it begins.
TEST_F(StandInTest, WalksTheLargestMailbox) {
    std::vector<std::string> blocks;
    for (std::uint32_t i = 1; i <= mailbox::kMostMsgs; ++i) blocks.push_back(Block(0, 0, i * 3));
    machine.files.Put(kInToc, Toc(blocks));
    machine.faults.Disarm();
    std::uint32_t count = 0;
    for (std::string id; (id = Next(id))[0] != '=';) ++count;
    EXPECT_EQ(count, mailbox::kMostMsgs);
    EXPECT_LT(machine.faults.Operations(), static_cast<int>(count) + 200);
}

}  // namespace
