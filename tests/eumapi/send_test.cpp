#include "platform/os/little_endian.h"
#include "tests/eumapi/stand_in_fixture.h"

namespace {

char* Text(const char* text) {
    return const_cast<char*>(text);
}

// A message as a caller builds one; the texts outlive it.
struct Outgoing {
    std::vector<MapiRecipDesc> recipients;
    std::vector<MapiFileDesc> files;
    MapiRecipDesc sender{};
    MapiMessage message{};

    Outgoing& To(std::uint32_t recipientClass, const char* name, const char* address) {
        recipients.push_back({0, recipientClass, Text(name), Text(address), 0, nullptr});
        return *this;
    }
    Outgoing& File(const char* path, const char* name) {
        files.push_back({0, 0, 0, Text(path), Text(name), nullptr});
        return *this;
    }
    const MapiMessage* Get() {
        message.nRecipCount = static_cast<std::uint32_t>(recipients.size());
        message.lpRecips = recipients.data();
        message.nFileCount = static_cast<std::uint32_t>(files.size());
        message.lpFiles = files.data();
        return &message;
    }
};

Outgoing Simple() {
    Outgoing mail;
    mail.To(mapi::kTo, "b@c.d", "SMTP:b@c.d");
    mail.message.lpszSubject = Text("hello");
    mail.message.lpszNoteText = Text("one\ntwo\r\nthree");
    return mail;
}

class StandInSendTest : public StandInTest {
  protected:
    std::uint32_t Send(Outgoing& mail) { return library.SendMail(session, mail.Get(), 0); }
};

TEST_F(StandInSendTest, QueuesInTheOutBox) {
    machine.clock.now = std::chrono::system_clock::from_time_t(315594235);  // 1980-01-01 17:03:55
    machine.clock.offset = std::chrono::hours(9);
    machine.files.Put("C:\\up\\a.txt", "content");
    machine.files.Put("C:\\Eudora\\Attach\\a.txt", "another's");
    auto mail = Simple();
    mail.To(mapi::kCc, "E, F", "e@f.g")
        .To(mapi::kTo, "H", "h@i.j")
        .To(mapi::kBcc, "k@l.m", nullptr);
    mail.sender.lpszName = Text("Me");
    mail.sender.lpszAddress = Text("me@b.c");
    mail.message.lpOriginator = &mail.sender;
    mail.File("C:\\up\\a.txt", "a.txt").File(nullptr, nullptr);
    for (const char* name : {"b.txt", "a;b.txt", "b.txt", "a.txt"})
        mail.File("C:\\up\\a.txt", name);
    ASSERT_EQ(Send(mail), mapi::kSuccess);
    EXPECT_EQ(Contents("Out"),
              "From ???@??"
              "? Wed Jan 02 02:03:55 1980\r\n"
              "Date: Wed, 02 Jan 1980 02:03:55 +0900\r\nTo: b@c.d, H <h@i.j>\r\n"
              "Cc: \"E, F\" <e@f.g>\r\nBcc: k@l.m\r\nFrom: Me <me@b.c>\r\nSubject: hello\r\n"
              "X-Attachments: C:\\Eudora\\Attach\\315594235\\a.txt;"
              "C:\\Eudora\\Attach\\b.txt;\"C:\\Eudora\\Attach\\a;b.txt\";"
              "C:\\Eudora\\Attach\\315594235\\b.txt;"
              "C:\\Eudora\\Attach\\315594236\\a.txt;\r\n\r\none\r\ntwo\r\nthree\r\n|");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\315594235\\a.txt"), "content");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\a.txt"), "another's");
    const std::string toc = FileText("C:\\Eudora\\Out.toc");
    const auto block = mailbox::MsgBlock::Decode(toc.substr(104));
    EXPECT_EQ(toc[40], 1);
    EXPECT_EQ(block.wStatus, 7);
    EXPECT_EQ(block.bMarkHigh, 0x80);
    EXPECT_EQ(block.szFrom, "b@c.d");
    EXPECT_EQ(block.szSubject, "hello");
    EXPECT_EQ(block.szDate, "02:03 AM 1/2/1980 +0900");
    EXPECT_EQ(block.dwMsgId, 1u);
    ASSERT_EQ(library.SendMail(0, Simple().Get(), 0), mapi::kSuccess) << "a session of its own";
    EXPECT_EQ(mailbox::MsgBlock::Decode(FileText("C:\\Eudora\\Out.toc").substr(104 + 218)).dwMsgId,
              2u);
    EXPECT_EQ(platform::ReadU16(FileText("C:\\Eudora\\Out.toc"), 72), 2);
}

TEST_F(StandInSendTest, NumbersAboveTheHighest) {
    for (const auto& [ids, next] :
         {std::pair{std::vector<std::uint32_t>{70000, 3}, 70001u}, {{~0U, 1, 2, 4}, 3u}}) {
        machine.files.Put("C:\\Eudora\\Out.mbx", Mail("first"));
        machine.files.Put("C:\\Eudora\\Out.toc", Ids(ids).Toc());
        auto mail = Simple();
        ASSERT_EQ(Send(mail), mapi::kSuccess);
        const auto last = FileText("C:\\Eudora\\Out.toc").substr(104 + 218 * ids.size());
        EXPECT_EQ(mailbox::MsgBlock::Decode(last).dwMsgId, next);
    }
}

TEST_F(StandInSendTest, RefusesWhatCannotBeSent) {
    const auto expect = [&](std::uint32_t expected, Outgoing mail, std::uint32_t flags = 0) {
        EXPECT_EQ(library.SendMail(session, mail.Get(), flags), expected);
        EXPECT_EQ(Contents("Out"), "");
        EXPECT_EQ(FilesIn("").size(), 1u);
    };
    machine.files.Put("C:\\up\\a.txt", "content");
    expect(mapi::kInvalidRecipients, Outgoing());
    expect(mapi::kUnknownRecipient, Simple().To(mapi::kTo, nullptr, nullptr));
    expect(mapi::kUnknownRecipient, Simple().To(mapi::kTo, "", "SMTP:"));
    expect(mapi::kBadRecipientType, Simple().To(0, "a", "a@b.c"));
    expect(mapi::kBadRecipientType, Simple().To(4, "a", "a@b.c"));
    expect(mapi::kAttachmentNotFound,
           Simple().File("C:\\up\\a.txt", "a.txt").File("C:\\up\\none", "b"));
    expect(mapi::kAttachmentNotFound, Simple().File("C:\\up", "folder"));
    expect(mapi::kNotSupported, Simple(), 0x8);
    ASSERT_TRUE(machine.files.RemoveFolder("C:\\Eudora\\Attach"));
    machine.files.Put("C:\\Eudora\\Attach", "no folder");
    auto mail = Simple();
    EXPECT_EQ(Send(mail.File("C:\\up\\a.txt", "a.txt")), mapi::kAttachmentWriteFailure);
    EXPECT_EQ(Contents("Out"), "");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach"), "no folder");
    EXPECT_EQ(library.SendMail(session, nullptr, 0), mapi::kFailure);
    EXPECT_EQ(library.SendMail(99, Simple().Get(), 0), mapi::kInvalidSession);
}

TEST_F(StandInSendTest, LetsNoTextBeginALineOrLeaveTheFolder) {
    machine.files.Put("C:\\up\\x.txt", "content");
    Outgoing mail;
    mail.To(mapi::kTo, "a\r\nBcc: x@y.z", "SMTP:a@b.c\nCc: x@y.z");
    mail.message.lpszSubject = Text("s\r\n\r\nbody");
    mail.File("C:\\up\\x.txt", "..\\..\\evil.txt").File("C:\\up\\x.txt", "..");
    ASSERT_EQ(Send(mail), mapi::kSuccess);
    const std::string out = Contents("Out");
    EXPECT_EQ(out.find("\r\nBcc:"), out.npos) << out;
    EXPECT_EQ(out.find("\nCc:"), out.npos) << out;
    EXPECT_NE(out.find("Subject: s    body\r\n"), out.npos) << out;
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\evil.txt"), "content");
    EXPECT_EQ(FileText("C:\\Eudora\\Attach\\x.txt"), "content");
}

}  // namespace
