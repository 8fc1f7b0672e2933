#include <algorithm>
#include <chrono>
#include <random>
#include <set>
#include <utility>

#include "platform/os/little_endian.h"
#include "tests/eumapi/stand_in_fixture.h"

namespace {

constexpr const char *kTrashToc = "C:\\Eudora\\Trash.toc", *kTrashMbx = "C:\\Eudora\\Trash.mbx";

// Eudora adds and deletes mails, a caller reads and deletes them. Both files and each walk are as
// the model has them, to the byte, also from mails on that have gone; deleted ones move when the
// session ends.
TEST_F(StandInTest, KeepsTheInBoxThatTheModelHas) {
    MailboxBuilder box, trash;
    std::vector<std::uint32_t> all;  // that the session ever saw, in order
    std::set<std::uint32_t> deleted;
    std::mt19937 random(3);
    box.Put(machine.files, kEudora);
    for (int step = 0; step < 1000; ++step) {
        const auto act = random() % 32 == 0 ? 6 : random() % 6;
        const auto id = all.empty() || act == 0 ? random() : all[random() % all.size()];
        const auto at = std::ranges::find(box.blocks, id, &mailbox::MsgBlock::dwMsgId);
        const bool isThere = at != box.blocks.end() && !deleted.contains(id);
        SCOPED_TRACE(::testing::Message() << step << ": " << act << ' ' << isThere);
        if (act == 0) {
            all.push_back(id);
            box.Mail(id, Mail(std::to_string(step)), static_cast<std::uint16_t>(random() % 3));
            box.blocks.back().szSubject = "of the block";
            box.Put(machine.files, kEudora);
        } else if (act == 1 && at != box.blocks.end()) {
            box.blocks.erase(at);
            box.Put(machine.files, kEudora);
        } else if (act == 2) {
            EXPECT_EQ(Delete(id), isThere ? mapi::kSuccess : mapi::kInvalidMessage);
            if (isThere) deleted.insert(id);
        } else if (act == 4 || act == 5) {
            const auto* mail = Read(id, act == 4 ? mapi::kPeek : 0);
            EXPECT_EQ(code, isThere ? mapi::kSuccess : mapi::kInvalidMessage);
            EXPECT_TRUE(!isThere || mail->flFlags == (at->wStatus == 0 ? mapi::kUnread : 0));
            if (isThere && act == 5 && at->wStatus == 0) at->wStatus = 1;
        } else if (act == 6) {
            EXPECT_EQ(EndSession(), mapi::kSuccess);
            all.clear();
            for (const auto& block : std::exchange(box.blocks, {})) {
                if (deleted.contains(block.dwMsgId)) {
                    trash.Mail(block.dwMsgId, box.mbx.substr(block.dwOffset, block.dwLength),
                               block.wStatus);
                    trash.blocks.back().szSubject = block.szSubject;
                } else {
                    box.blocks.push_back(block);
                    all.push_back(block.dwMsgId);
                }
            }
            deleted.clear();
        }
        EXPECT_EQ(FileText("C:\\Eudora\\In.mbx"), box.mbx);
        EXPECT_EQ(FileText(kInToc), box.Toc());
        if (!trash.blocks.empty()) {
            EXPECT_EQ(FileText(kTrashMbx), trash.mbx);
            EXPECT_EQ(FileText(kTrashToc).substr(104), trash.Toc().substr(104));
        }
        std::string walk, unread;
        std::set<std::uint32_t> staying;
        for (const auto& block : box.blocks) {
            if (deleted.contains(block.dwMsgId)) continue;
            staying.insert(block.dwMsgId);
            walk += std::to_string(block.dwMsgId) + ' ';
            if (block.wStatus == 0) unread += std::to_string(block.dwMsgId) + ' ';
        }
        EXPECT_EQ(Walk(), walk + "=16");
        EXPECT_EQ(Walk(kFindFlags | mapi::kUnreadOnly), unread + "=16");
        auto next = std::ranges::find(all, id);
        std::string behind = next == all.end() ? "=17" : "=16";
        while (behind == "=16" && ++next != all.end()) {
            if (staying.contains(*next)) behind = mailbox::IndexIdOf(*next);
        }
        ASSERT_EQ(Next(mailbox::IndexIdOf(id)), behind);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(FileText(kTrashToc).substr(8, 6), std::string("Trash\0", 6));
    EXPECT_EQ(FileText(kTrashToc)[40], 3);
    EXPECT_EQ(platform::ReadU32(FileText(kTrashToc), 96), trash.mbx.size() + 1);
}

TEST_F(StandInTest, ReadsAsMuchOfTheListAsThereIs) {
    const auto list = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        return MailboxBuilder().Block(a, 0, 0).Block(b, 0, 0).Block(c, 0, 0).Toc(4);
    };
    const std::string toc = list(5, 5, 6) + std::string(100, 'x');  // a block that is cut short
    const std::pair<std::string, const char*> rows[] = {
        {toc, "5 6 =16"},  // an id names one mail
        {toc.substr(0, 104 + 2 * 218 - 1), "5 =16"},
        {toc.substr(0, 50), "=16"},
        {std::string("\x00\x01", 2) + toc.substr(2), "=26"},  // of a Macintosh
        {list(5, 8, 7), "5 8 7 =16"},
        {list(7, 6, 9), "7 6 9 =16"}};
    for (const auto& [text, walk] : rows) {
        machine.files.Put(kInToc, text);
        machine.files.SetModified(kInToc, machine.clock.now);  // as long as a file system's step
        EXPECT_EQ(Walk(), walk);
    }
    EXPECT_EQ(Next("0x00000006"), "0x00000009") << "one that came back stands where it is";
    machine.files.Put(kInToc, toc);
    machine.files.Put("C:\\Eudora\\In.mbx", "");
    EXPECT_EQ(Delete(6), mapi::kSuccess);
    EXPECT_EQ(Delete(5), mapi::kSuccess);
    EXPECT_EQ(Walk(), "=16");
    machine.files.SetModified(kInToc, machine.clock.now - std::chrono::hours(1));
    EXPECT_EQ(Walk(), "5 =16") << "the other one of that id";
    EXPECT_EQ(EndSession(), mapi::kSuccess);
    EXPECT_EQ(FileText(kInToc).substr(102),
              std::string("\2\0", 2) + toc.substr(104 + 218, 218) + std::string(100, 'x'));
    ASSERT_TRUE(machine.files.Delete(kInToc));
    EXPECT_EQ(Walk(), "=16");
}

// Also one that shows in no time stamp.
TEST_F(StandInTest, LeavesAStateThatEudoraWroteSinceTheListWasRead) {
    for (const std::uint16_t state : {0, 2}) {
        MailboxBuilder().Mail(1, Mail("a"), state).Put(machine.files, kEudora);
        machine.files.SetModified(kInToc, machine.clock.now - std::chrono::hours(1));
        EXPECT_EQ(Walk(), "1 =16");
    }
    ASSERT_NE(Read(1, 0), nullptr);
    EXPECT_EQ(FileText(kInToc).at(104 + 12), 2);
}

TEST_F(StandInTest, RefusesWhatNamesNoMailOrSession) {
    MailboxBuilder().Block(0, 0, 0).Block(1, 0, 0).Put(machine.files, kEudora);
    MapiMessage* message = nullptr;
    for (const char* seed : {"0x00000002", "0x0000001", "0X00000001", "1", "0x00000001 "}) {
        EXPECT_EQ(Next(seed), "=17") << seed;
        EXPECT_EQ(library.ReadMail(session, seed, mapi::kPeek, &message), mapi::kInvalidMessage);
        EXPECT_EQ(library.DeleteMail(session, seed), mapi::kInvalidMessage) << seed;
    }
    char id[mapi::kMessageIdSize];
    EXPECT_EQ(library.FindNext(session, "REPORT.IPM", nullptr, 0, id), mapi::kNoMessages);
    for (const auto expected : {mapi::kSuccess, mapi::kInvalidSession}) {
        EXPECT_EQ(library.FindNext(session, nullptr, nullptr, 0, id), expected);
        EXPECT_EQ(library.DeleteMail(session, "0x00000001"), expected);
        EXPECT_EQ(library.Logoff(session), expected);
    }
    mapi::Session second = 0;
    platform::testing::TestSystem empty;
    EXPECT_EQ(eumapi::SimpleMapi(empty.system).Logon(&second), mapi::kLoginFailure);
}

// Each step costs one look at the list, wherever it begins.
TEST_F(StandInTest, WalksTheLargestMailboxAndLetsOthersUseTheFiles) {
    MailboxBuilder box;
    box.Mail(1, Mail("a"));
    for (std::uint32_t i = 2; i <= mailbox::kMostMsgs; ++i) box.Block(i * 3, 0, 0);
    box.Put(machine.files, kEudora);
    ASSERT_NE(Read(1), nullptr);
    using platform::OpenMode, platform::Share;
    EXPECT_TRUE(machine.files.Open("C:\\Eudora\\In.mbx", OpenMode::kReadWrite, Share::kRead));
    const auto held = machine.files.Open(kInToc, OpenMode::kReadWrite, Share::kNone);
    machine.faults.Disarm();
    EXPECT_EQ(std::ranges::count(Walk(), ' '), mailbox::kMostMsgs);
    EXPECT_EQ(machine.faults.Operations(), static_cast<int>(mailbox::kMostMsgs) + 1);
    ASSERT_NE(Read(1), nullptr);
    machine.files.SetModified(kInToc, machine.clock.now + std::chrono::hours(1));
    EXPECT_EQ(Next("0x00000001"), "=2") << "worth another try";
    EXPECT_TRUE((*held)->Close());
    EXPECT_EQ(Next("0x00000001"), "0x00000006");
    EXPECT_EQ(machine.files.OpenCount(), 1) << "the mark alone: In.mbx may be another, too";
}

TEST_F(StandInTest, AddsToASoundTrashAlone) {
    const std::string old = Mail("old"), toc = MailboxBuilder().Mail(9, old).Toc();
    const struct {
        std::optional<std::string> mbx, toc;
        std::uint32_t code;
    } rows[] = {{old, {}, 2},  // which Eudora has to mend
                {{}, toc, 2},
                {"x" + old, toc, 2},  // another's list
                {"", std::string("\x00\x01", 2) + std::string(300, ' '), 26},
                {old + "From ???@", toc + "torn", 0}};
    MailboxBuilder().Mail(1, Mail("a")).Put(machine.files, kEudora);
    for (const auto& row : rows) {
        if (row.mbx) machine.files.Put(kTrashMbx, *row.mbx);
        if (row.toc) machine.files.Put(kTrashToc, *row.toc);
        EXPECT_EQ(Delete(1), row.code);
        if (row.code == 0) continue;
        EXPECT_EQ(machine.files.Get(kTrashMbx), row.mbx);
        EXPECT_EQ(machine.files.Get(kTrashToc), row.toc);
        EXPECT_EQ(Contents("In"), Mail("a") + "|");
        EXPECT_TRUE(!row.mbx || machine.files.Delete(kTrashMbx));
        EXPECT_TRUE(!row.toc || machine.files.Delete(kTrashToc));
    }
    EXPECT_EQ(EndSession(), mapi::kSuccess);
    EXPECT_EQ(FileText(kTrashMbx), old + "From ???@\r\n" + Mail("a")) << "begins a line";
    EXPECT_EQ(Contents("Trash"), old + "|" + Mail("a") + "|");
    EXPECT_EQ(FileText(kTrashToc).size(), 104u + 2 * 218u);
}

}  // namespace
