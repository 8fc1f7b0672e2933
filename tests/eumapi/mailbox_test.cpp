#include <chrono>

#include "platform/os/little_endian.h"
#include "tests/eumapi/stand_in_fixture.h"

namespace {

TEST_F(StandInTest, WalksInTheOrderOfTheFile) {
    const std::string two = Ids({1, 2}).Toc();
    const struct {
        const char* what;
        std::string toc;
        const char *walk, *unread;
    } cases[] = {{"any order", Ids({7}).Block(~0U, 0, 0, 1).Block(1, 0, 0, 8).Toc(),
                  "7 4294967295 1 =16", "7 =16"},
                 {"duplicates", Ids({5, 5, 6, 5}).Toc(), "5 6 =16", "5 6 =16"},
                 {"50 bytes", two.substr(0, 50), "=16", "=16"},
                 {"second block short", two.substr(0, two.size() - 1), "1 =16", "1 =16"},
                 {"bytes behind the count", Ids({1, 2, 3}).Toc(2), "1 2 =16", "1 2 =16"},
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
    Ids({0, 1}).Put(machine.files, "C:\\Eudora");
    MapiMessage* message = nullptr;
    for (const char* seed : {"0x00000002", "0x0000001", "0X00000001", "1", "0x00000001 "}) {
        EXPECT_EQ(Next(seed), "=17") << seed;
        EXPECT_EQ(library.ReadMail(session, seed, mapi::kPeek, &message), mapi::kInvalidMessage);
        EXPECT_EQ(library.DeleteMail(session, seed), mapi::kInvalidMessage) << seed;
    }
    char id[mapi::kMessageIdSize];
    EXPECT_EQ(library.FindNext(session, "IPM.Note", nullptr, kFindFlags, id), mapi::kSuccess);
    EXPECT_EQ(library.FindNext(session, "REPORT.IPM", nullptr, kFindFlags, id), mapi::kNoMessages);
}

TEST_F(StandInTest, KeepsSessionsApart) {
    mapi::Session second = 0;
    ASSERT_EQ(library.Logon(&second), mapi::kSuccess);
    EXPECT_NE(second, session);
    Ids({1}).Put(machine.files, "C:\\Eudora");
    EXPECT_EQ(library.Logoff(second), mapi::kSuccess);
    EXPECT_EQ(library.Logoff(second), mapi::kInvalidSession);
    char id[mapi::kMessageIdSize];
    EXPECT_EQ(library.FindNext(second, nullptr, nullptr, 0, id), mapi::kInvalidSession);
    EXPECT_EQ(library.DeleteMail(second, "0x00000001"), mapi::kInvalidSession);
    EXPECT_EQ(Walk(), "1 =16");
    EXPECT_EQ(library.Logon(nullptr), mapi::kFailure);
    platform::testing::TestSystem empty;
    EXPECT_EQ(eumapi::SimpleMapi(empty.system).Logon(&second), mapi::kLoginFailure);
}

TEST_F(StandInTest, FollowsTheFileWhileItChanges) {
    const struct {
        std::vector<std::uint32_t> ids;
        const char *seed, *next, *why;
    } steps[] = {{{1, 2, 3, 4, 5}, "0x00000002", "0x00000003", "as it stands"},
                 {{1, 2, 5, 6}, "0x00000004", "0x00000005", "behind where a deleted one was"},
                 {{1, 6}, "0x00000004", "0x00000006", "its neighbours went too"},
                 {{6, 9}, "0x00000001", "0x00000006", "the first one went"},
                 {{6, 4, 9}, "0x00000004", "0x00000009", "one that came back stands where it is"},
                 {{}, "0x00000004", "=16", "all went"},
                 {{8}, "0x00000009", "0x00000008", "another came"},
                 {{8}, "0x00000077", "=17", "never seen"}};
    for (const auto& step : steps) {
        Ids(step.ids).Put(machine.files, "C:\\Eudora");
        EXPECT_EQ(Next(step.seed), step.next) << step.why;
    }
    for (const std::uint32_t id : {1, 2}) {  // file systems tell times in steps
        Ids({id}).Put(machine.files, "C:\\Eudora");
        machine.files.SetModified(kInToc, machine.clock.now);
        EXPECT_EQ(Walk(), std::to_string(id) + " =16");
    }
}

TEST_F(StandInTest, LetsOthersUseTheFilesBetweenCalls) {
    PutMails({Mail("a"), Mail("b")});
    EXPECT_EQ(Walk(), "1 2 =16");
    ASSERT_NE(Read(1), nullptr);
    using platform::OpenMode;
    using platform::Share;
    EXPECT_TRUE(machine.files.Open(kInMbx, OpenMode::kReadWrite, Share::kRead));
    const auto held = machine.files.Open(kInToc, OpenMode::kReadWrite, Share::kNone);
    EXPECT_EQ(Next("0x00000001"), "0x00000002") << "unchanged, so not opened";
    machine.files.SetModified(kInToc, machine.clock.now + std::chrono::hours(1));
    EXPECT_EQ(Next("0x00000001"), "=2") << "worth another try";
    EXPECT_TRUE((*held)->Close());
    ASSERT_NE(Read(1), nullptr);
    PutMails({Mail("c")});
    EXPECT_EQ(Next(""), "0x00000001");
    EXPECT_EQ(machine.files.OpenCount(), 1) << "the mark alone: In.mbx may be another, too";
}

// Each step costs one Stat, wherever it begins.
TEST_F(StandInTest, WalksTheLargestMailbox) {
    MailboxBuilder box;
    for (std::uint32_t i = 1; i <= mailbox::kMostMsgs; ++i) box.Block(i * 3, 0, 0);
    machine.files.Put(kInToc, box.Toc());
    machine.faults.Disarm();
    std::uint32_t count = 0;
    for (std::string id; (id = Next(id))[0] != '=';) ++count;
    EXPECT_EQ(count, mailbox::kMostMsgs);
    EXPECT_LT(machine.faults.Operations(), static_cast<int>(count) + 200);
}

TEST_F(StandInTest, MovesToTheTrash) {
    PutMails({Mail("a"), Mail("b"), Mail("c")}, 2);
    const std::string mbx = FileText(kInMbx), toc = FileText(kInToc);
    ASSERT_EQ(Delete(2), mapi::kSuccess);
    EXPECT_EQ(Contents("Trash"), Mail("b") + "|");
    EXPECT_EQ(FileText(kInMbx), mbx);
    std::string expected = toc.substr(0, 104 + 218) + toc.substr(104 + 2 * 218);
    expected[102] = 2;
    EXPECT_EQ(FileText(kInToc), expected);
    const std::string trash = FileText("C:\\Eudora\\Trash.toc");
    EXPECT_EQ(trash.substr(8, 6), std::string("Trash\0", 6));
    EXPECT_EQ(trash[40], 3);
    EXPECT_EQ(platform::ReadU32(trash, 96), Mail("b").size() + 1);
    EXPECT_EQ(trash.substr(104 + 8), toc.substr(104 + 218 + 8, 210)) << "all but its place";
    EXPECT_EQ(Next("0x00000002"), "0x00000003") << "a walk goes on";
    PutMails({Mail("a"), Mail("b")});
    const std::string cut = FileText(kInToc).substr(0, 104 + 218 + 100);
    machine.files.Put(kInToc, cut);
    ASSERT_EQ(Delete(1), mapi::kSuccess);
    EXPECT_EQ(FileText(kInToc).substr(102), std::string("\1\0", 2) + cut.substr(104 + 218))
        << "a block that is cut short is still counted";
}

TEST_F(StandInTest, RefusesATrashThatEudoraMustMend) {
    PutMails({Mail("a")});
    const struct {
        const char* what;
        std::optional<std::string> mbx, toc;
        std::uint32_t code;
    } cases[] = {{"mails without a list", Mail("old"), std::nullopt, 2},
                 {"a list without mails", std::nullopt, Ids({1}).Toc(), 2},
                 {"another's list", "x" + Mail("old"), Ids({1}).Toc(), 2},
                 {"Macintosh", "", std::string("\x00\x01", 2) + std::string(300, ' '), 26}};
    for (const auto& one : cases) {
        (void)machine.files.Delete("C:\\Eudora\\Trash.mbx");
        (void)machine.files.Delete("C:\\Eudora\\Trash.toc");
        if (one.mbx) machine.files.Put("C:\\Eudora\\Trash.mbx", *one.mbx);
        if (one.toc) machine.files.Put("C:\\Eudora\\Trash.toc", *one.toc);
        EXPECT_EQ(Delete(1), one.code) << one.what;
        EXPECT_EQ(machine.files.Get("C:\\Eudora\\Trash.mbx"), one.mbx) << one.what;
        EXPECT_EQ(machine.files.Get("C:\\Eudora\\Trash.toc"), one.toc) << one.what;
        EXPECT_EQ(Contents("In"), Mail("a") + "|") << one.what;
    }
}

TEST_F(StandInTest, BeginsALineBehindWhatWasLeftUnfinished) {
    PutMails({Mail("a")});
    MailboxBuilder trash;
    trash.Mail(9, Mail("old"));
    machine.files.Put("C:\\Eudora\\Trash.mbx", trash.mbx + "From ???@");
    machine.files.Put("C:\\Eudora\\Trash.toc", trash.Toc() + "torn");
    ASSERT_EQ(Delete(1), mapi::kSuccess);
    EXPECT_EQ(Contents("Trash"), Mail("old") + "|" + Mail("a") + "|");
    EXPECT_EQ(FileText("C:\\Eudora\\Trash.mbx"), trash.mbx + "From ???@\r\n" + Mail("a"));
    EXPECT_EQ(FileText("C:\\Eudora\\Trash.toc").size(), 104u + 2 * 218u);
}

}  // namespace
