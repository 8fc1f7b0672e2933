#include "platform/os/little_endian.h"
#include "tests/eumapi/stand_in_fixture.h"
#include "tests/support/fault_sweep.h"

namespace {

using platform::testing::Fault;

class StandInDeleteTest : public StandInTest {
  protected:
    std::uint32_t Delete(std::uint32_t id) {
        return library.DeleteMail(session, mailbox::IndexIdOf(id).c_str());
    }
};

TEST_F(StandInDeleteTest, MovesToTheTrash) {
    PutMails({Mail("a"), Mail("b"), Mail("c")}, 2);
    const std::string mbx = FileText(kInMbx), toc = FileText(kInToc);
    ASSERT_EQ(Delete(2), mapi::kSuccess);
    EXPECT_EQ(Contents("In"), Mail("a") + "|" + Mail("c") + "|");
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
    ASSERT_EQ(Delete(3), mapi::kSuccess);
    ASSERT_EQ(Delete(1), mapi::kSuccess);
    EXPECT_EQ(Contents("In"), "");
    EXPECT_EQ(Contents("Trash"), Mail("b") + "|" + Mail("c") + "|" + Mail("a") + "|");
    EXPECT_EQ(Delete(1), mapi::kInvalidMessage);
    PutMails({Mail("a"), Mail("b")});
    const std::string cut = FileText(kInToc).substr(0, 104 + 218 + 100);
    machine.files.Put(kInToc, cut);
    ASSERT_EQ(Delete(1), mapi::kSuccess);
    EXPECT_EQ(FileText(kInToc).substr(102), std::string("\1\0", 2) + cut.substr(104 + 218))
        << "a block that is cut short is still counted";
}

TEST_F(StandInDeleteTest, RefusesATrashThatEudoraMustMend) {
    PutMails({Mail("a")});
    const auto trash = [](const char* extension) {
        return std::string("C:\\Eudora\\Trash.") + extension;
    };
    const struct {
        const char* what;
        std::optional<std::string> mbx, toc;
        std::uint32_t code;
    } cases[] = {{"mails without a list", Mail("old"), std::nullopt, 2},
                 {"a list without mails", std::nullopt, Toc({Block(0, 9, 1)}), 2},
                 {"another's list", "x" + Mail("old"), Toc({Block(0, 9, 1)}), 2},
                 {"a list beyond the mails", Mail("old"), Toc({Block(900, 9, 1)}), 2},
                 {"Macintosh", "", std::string("\x00\x01", 2) + std::string(300, ' '), 26}};
    for (const auto& one : cases) {
        (void)machine.files.Delete(trash("mbx"));
        (void)machine.files.Delete(trash("toc"));
        if (one.mbx) machine.files.Put(trash("mbx"), *one.mbx);
        if (one.toc) machine.files.Put(trash("toc"), *one.toc);
        const auto files = machine.files.AllFiles();
        EXPECT_EQ(Delete(1), one.code) << one.what;
        EXPECT_EQ(machine.files.AllFiles(), files) << one.what;
        EXPECT_EQ(machine.files.Get(trash("mbx")), one.mbx) << one.what;
        EXPECT_EQ(machine.files.Get(trash("toc")), one.toc) << one.what;
        EXPECT_EQ(Contents("In"), Mail("a") + "|") << one.what;
    }
}

TEST_F(StandInDeleteTest, BeginsALineBehindWhatWasLeftUnfinished) {
    PutMails({Mail("a")});
    machine.files.Put("C:\\Eudora\\Trash.mbx", Mail("old") + "From ???@");
    machine.files.Put("C:\\Eudora\\Trash.toc",
                      Toc({Block(0, static_cast<std::uint32_t>(Mail("old").size()), 9)}) + "torn");
    ASSERT_EQ(Delete(1), mapi::kSuccess);
    EXPECT_EQ(Contents("Trash"), Mail("old") + "|" + Mail("a") + "|");
    EXPECT_EQ(FileText("C:\\Eudora\\Trash.mbx"), Mail("old") + "From ???@\r\n" + Mail("a"));
    EXPECT_EQ(FileText("C:\\Eudora\\Trash.toc").size(), 104u + 2 * 218u);
}

// Whatever happens, the mail is in one of the two mailboxes in full, what was in the Trash stays,
// and another try ends with each mail once.
TEST_F(StandInDeleteTest, LosesNothingWhateverFails) {
    const std::string a = Mail("a") + "|", b = Mail("b") + "|", old = Mail("old") + "|";
    for (const bool hasTrash : {false, true}) {
        SCOPED_TRACE(hasTrash);
        test::ForEveryFault([&](Fault fault, int n) {
            for (const auto& path : machine.files.AllFiles()) (void)machine.files.Delete(path);
            PutMails({Mail("a"), Mail("b")});
            if (hasTrash) {
                machine.files.Put("C:\\Eudora\\Trash.mbx", Mail("old"));
                machine.files.Put(
                    "C:\\Eudora\\Trash.toc",
                    Toc({Block(0, static_cast<std::uint32_t>(Mail("old").size()), 9)}));
            }
            const std::string before = hasTrash ? old : "";
            machine.faults.Arm(fault, n);
            const auto result = Delete(1);
            const bool isKilled = fault == Fault::kKill && machine.faults.Fired();
            if (isKilled) {
                EXPECT_EQ(library.Logoff(session), mapi::kSuccess);
                machine.files.Crash();
            }
            const bool fired = machine.faults.Disarm();
            const std::string in = Contents("In"), trash = Contents("Trash");
            const bool isInTrash = trash == before + a;
            EXPECT_TRUE(isInTrash || trash == before || (trash == "none" && !hasTrash)) << trash;
            EXPECT_TRUE(in == a + b || (in == b && isInTrash)) << in;
            EXPECT_TRUE(result == mapi::kSuccess || fault != Fault::kFail || in == a + b);
            EXPECT_TRUE(!isKilled || library.Logon(&session) == mapi::kSuccess);
            EXPECT_TRUE(in == b || Delete(1) == mapi::kSuccess);
            EXPECT_EQ(Contents("In"), b);
            EXPECT_EQ(Contents("Trash"), before + a);
            return fired;
        });
    }
}

}  // namespace
