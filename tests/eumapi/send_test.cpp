#include "platform/os/little_endian.h"
#include "tests/eumapi/stand_in_fixture.h"

namespace {

char* Text(const char* text) {
    return const_cast<char*>(text);
}

MapiRecipDesc Person(std::uint32_t recipientClass, const char* name, const char* address) {
    return {0, recipientClass, Text(name), Text(address), 0, nullptr};
}

MapiFileDesc File(const char* path, const char* name) {
    return {0, 0, 0, Text(path), Text(name), nullptr};
}

const MapiRecipDesc kSomebody = Person(mapi::kTo, "b@c.d", "SMTP:b@c.d");

class StandInSendTest : public StandInTest {
  protected:
    StandInSendTest() { machine.files.Put("C:\\up\\a.txt", "content"); }

    std::uint32_t Send(std::vector<MapiRecipDesc> recipients, std::vector<MapiFileDesc> files = {},
                       const char* subject = "hello", mapi::Flags flags = 0) {
        auto sender = Person(mapi::kOriginator, "Me", "me@b.c");
        MapiMessage message{};
        message.lpszSubject = Text(subject);
        message.lpszNoteText = Text("one\ntwo\r\nthree");
        message.lpOriginator = &sender;
        message.nRecipCount = static_cast<std::uint32_t>(recipients.size());
        message.lpRecips = recipients.data();
        message.nFileCount = static_cast<std::uint32_t>(files.size());
        message.lpFiles = files.data();
        return library.SendMail(session, &message, flags);
    }
    mailbox::MsgBlock OutBlock(std::size_t number) const {
        return mailbox::MsgBlock::Decode(
            FileText("C:\\Eudora\\Out.toc").substr(104 + 218 * number));
    }
};

// No text begins a line of its own, no name leaves the folder.
TEST_F(StandInSendTest, QueuesInTheOutBox) {
    machine.clock.now = std::chrono::system_clock::from_time_t(315594235);  // 1980-01-01 17:03:55
    machine.clock.offset = std::chrono::hours(9);
    machine.files.Put("C:\\Eudora\\Attach\\a.txt", "another's");
    const char* up = "C:\\up\\a.txt";
    ASSERT_EQ(Send({kSomebody, Person(mapi::kCc, "E, F\r\nBcc: x", "SMTP:e@f.g\nCc: y"),
                    Person(mapi::kTo, "H", "h@i.j"), Person(mapi::kBcc, "k@l.m", nullptr)},
                   {File(up, ".."), File(nullptr, nullptr), File(up, "..\\..\\b.txt"),
                    File(up, "a;b.txt"), File(up, "b.txt"), File(up, "a.txt")},
                   "hello\r\n\r\nbody"),
              mapi::kSuccess);
    EXPECT_EQ(Contents("Out"),
              "From ???@??"
              "? Wed Jan 02 02:03:55 1980\r\n"
              "Date: Wed, 02 Jan 1980 02:03:55 +0900\r\nTo: b@c.d, H <h@i.j>\r\n"
              "Cc: \"E, F  Bcc: x\" <e@f.g Cc: y>\r\nBcc: k@l.m\r\nFrom: Me <me@b.c>\r\n"
              "Subject: hello    body\r\n"
              "X-Attachments: C:\\Eudora\\Attach\\315594235\\a.txt;"
              "C:\\Eudora\\Attach\\b.txt;\"C:\\Eudora\\Attach\\a;b.txt\";"
              "C:\\Eudora\\Attach\\315594235\\b.txt;"
              "C:\\Eudora\\Attach\\315594236\\a.txt;\r\n\r\none\r\ntwo\r\nthree\r\n|");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\315594235\\a.txt"), "content");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\a.txt"), "another's");
    const auto block = OutBlock(0);
    EXPECT_EQ(std::tuple(block.wStatus, block.bMarkHigh, block.szFrom, block.szSubject,
                         block.szDate, block.dwMsgId),
              std::tuple(7, 0x80, "b@c.d", "hello    body", "02:03 AM 1/2/1980 +0900", 1u));
    EXPECT_EQ(FileText("C:\\Eudora\\Out.toc")[40], 1);
    const auto own = std::exchange(session, 0);  // one for the call alone
    ASSERT_EQ(Send({kSomebody}), mapi::kSuccess);
    session = own;
    EXPECT_EQ(platform::ReadU16(FileText("C:\\Eudora\\Out.toc"), 72), 2);
    const std::tuple<std::uint32_t, std::uint32_t, std::time_t, const char*> rows[] = {
        {70000, 70001, 315630000, "12:00 PM 1/2/1980 +0900"},
        {~0U, 3, 315590400, "01:00 AM 1/2/1980 +0900"}};
    for (const auto& [highest, next, now, date] : rows) {
        const auto out = MailboxBuilder().Block(1, 0, 0).Block(highest, 0, 0).Block(2, 0, 0).Toc();
        machine.files.Put("C:\\Eudora\\Out.toc", out);
        machine.clock.now = std::chrono::system_clock::from_time_t(now);
        ASSERT_EQ(Send({kSomebody}), mapi::kSuccess);
        ASSERT_EQ(Send({kSomebody}), mapi::kSuccess);
        EXPECT_EQ(OutBlock(3).dwMsgId, next);
        EXPECT_EQ(OutBlock(4).dwMsgId, next + 1);
        EXPECT_EQ(OutBlock(3).szDate, date);
    }
}

TEST_F(StandInSendTest, RefusesWhatCannotBeSent) {
    const std::string longest(245, 'x');
    const auto good = File("C:\\up\\a.txt", "a.txt");
    const struct {
        std::uint32_t code;
        std::vector<MapiRecipDesc> recipients;
        std::vector<MapiFileDesc> files = {};
        mapi::Flags flags = 0;
    } rows[] = {
        {mapi::kInvalidRecipients, {}},
        {mapi::kUnknownRecipient, {kSomebody, Person(mapi::kTo, nullptr, nullptr)}},
        {mapi::kUnknownRecipient, {kSomebody, Person(mapi::kTo, "", "SMTP:")}},
        {mapi::kBadRecipientType, {kSomebody, Person(0, "a", "a@b.c")}},
        {mapi::kBadRecipientType, {kSomebody, Person(4, "a", "a@b.c")}},
        {mapi::kAttachmentNotFound, {kSomebody}, {good, good, File("C:\\up\\none", "b")}},
        {mapi::kAttachmentNotFound, {kSomebody}, {good, File("C:\\up", "folder")}},
        {mapi::kNotSupported, {kSomebody}, {}, mapi::kDialog},
        {mapi::kAttachmentWriteFailure, {kSomebody}, {File("C:\\up\\a.txt", longest.c_str())}},
        {mapi::kAttachmentWriteFailure, {kSomebody}, {good}}};
    for (const auto& row : rows) {
        if (&row + 1 == std::end(rows)) {
            ASSERT_TRUE(machine.files.RemoveFolder("C:\\Eudora\\Attach"));
            machine.files.Put("C:\\Eudora\\Attach", "no folder");
        }
        const auto before = FilesIn("");
        EXPECT_EQ(Send(row.recipients, row.files, "s", row.flags), row.code);
        EXPECT_EQ(FilesIn(""), before);
        EXPECT_FALSE(machine.files.Exists("C:\\Eudora\\Attach\\0"));
    }
    EXPECT_EQ(library.SendMail(session, nullptr, 0), mapi::kFailure);
    session = 99;
    EXPECT_EQ(Send({kSomebody}), mapi::kInvalidSession);
}

}  // namespace
