#include <algorithm>

#include "tests/eumapi/stand_in_fixture.h"
#include "tests/support/failing_allocation.h"

namespace {

using test::Shortage;

class StandInMemoryTest : public StandInTest {
  protected:
    static constexpr const char* kAttached = "C:\\Eudora\\Attach\\a.txt";

    void Reset() {
        for (const auto& path : FilesIn("")) ASSERT_TRUE(machine.files.Delete(path)) << path;
        machine.clock.now +=
            std::chrono::seconds(10);  // which the folders of attachments are named by
        machine.files.Put(kAttached, "content");
        PutMails({Mail("a", "\r\n\r\nAttachment Converted: \"C:\\Eudora\\Attach\\a.txt\"\r\n")});
    }
    MapiMessage Outgoing() {
        recipient.ulRecipClass = mapi::kTo;
        recipient.lpszAddress = const_cast<char*>("a@b.c");
        file.lpszPathName = const_cast<char*>(kAttached);
        MapiMessage message{};
        message.nRecipCount = message.nFileCount = 1;
        message.lpRecips = &recipient;
        message.lpFiles = &file;
        return message;
    }

    long Mails(const std::string& mailbox) const {
        return std::ranges::count(Contents(mailbox), '|');
    }
    MapiRecipDesc recipient{};
    MapiFileDesc file{};
};

// A call in which memory runs out does nothing and leaves nothing behind; the next one does all.
TEST_F(StandInMemoryTest, RunsOutWithoutHalfOfAnything) {
    constexpr const char* kId = "0x00000001";
    for (const Shortage shortage : {Shortage::kOne, Shortage::kLasting}) {
        const std::size_t mostLeft = shortage == Shortage::kOne ? 0 : 1;  // nor to delete it
        const auto attempt = [&](auto run) {
            Reset();
            mapi::Session other = 0;
            run([&] { library.Logon(&other); });
            char id[mapi::kMessageIdSize] = {};
            run([&] { library.FindNext(session, nullptr, nullptr, kFindFlags, id); });
            EXPECT_EQ(Walk(), "1 =16");

            MapiMessage* read = nullptr;
            const bool isRead = run([&] { library.ReadMail(session, kId, 0, &read); });
            EXPECT_EQ(read != nullptr, isRead);
            EXPECT_EQ(FileText(kInToc).at(104 + 12), isRead ? 1 : 0);
            EXPECT_LE(TempFiles().size(), isRead ? 1u : mostLeft);
            EXPECT_EQ(library.FreeBuffer(read), mapi::kSuccess);

            const auto message = Outgoing();
            const bool isSent = run([&] { library.SendMail(session, &message, 0); });
            EXPECT_EQ(Mails("Out"), isSent ? 1 : 0);
            const std::size_t files = FilesIn("C:\\Eudora\\Attach\\").size();
            EXPECT_GE(files, isSent ? 2u : 1u);
            EXPECT_LE(files, isSent ? 2u : 1u + mostLeft);
            EXPECT_EQ(library.SendMail(session, &message, 0), mapi::kSuccess);

            const bool isDeleted = run([&] { library.DeleteMail(session, kId); });
            EXPECT_EQ(Mails("In"), isDeleted ? 0 : 1);
            EXPECT_TRUE(isDeleted || library.DeleteMail(session, kId) == mapi::kSuccess);
            EXPECT_EQ(Mails("Trash"), 1);
        };
        test::ForEachFailingAllocation(attempt, shortage);
    }
}

}  // namespace
