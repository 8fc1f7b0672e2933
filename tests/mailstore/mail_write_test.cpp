#include "tests/mailstore/writing_fixture.h"

namespace {

const std::string kSeparator =
    "From ???@??"
    "? Sat Feb 01 14:05:09 2003\r\n";
const std::string kDateLine = "Date: Sat, 01 Feb 2003 14:05:09 +0900\r\n";

std::string Head(const std::string& id) {
    return kSeparator + "Message-ID: <" + id + ">\r\n" + kDateLine;
}

class MailWriteTest : public WritingTest {
  protected:
    // The mail alone in a new in-box; its text.
    std::string Written(const HostMail& host) {
        machine.files.Put("C:\\E\\In.mbx", "");
        machine.files.Put("C:\\E\\In.toc", mailbox::NewTocHeader());
        Restart();
        Store({host});
        (void)Read();
        return Mbx();
    }
};

TEST_F(MailWriteTest, AMailAndItsBlockByteForByte) {
    const HostMail host{.subject = "Ad", .body = "a\nb", .status = 0x20001};
    const std::string text = Head("a@b") +
                             "To: you@y.example\r\nFrom: me@x.example\r\nSubject: Ad\r\n\r\n"
                             "a\r\nb\r\n";
    EXPECT_EQ(Written(host), text);
    std::string block(218, '\0');
    const std::pair<std::size_t, std::string> parts[] = {
        {4, std::string(1, static_cast<char>(text.size()))},
        {8, "\xF5\xD6\x3A\x3E"},  // 2003-01-31 20:05:09: UTC read as local time once more
        {12, "\x01"},
        {14, "\xBE\x01\x03"},
        {18, "05:05 AM 2/1/103 +0900"},
        {50, "me@x.example"},
        {114, "Ad"},
        {178, std::string(8, '\xFF')},
        {192, "\x02"},
        {198, "\x01"},
        {202, "\x5C\xFE"},
        {208, "\x01"}};
    for (const auto& [at, bytes] : parts) block.replace(at, bytes.size(), bytes);
    EXPECT_EQ(Toc().substr(104), block);
    std::string header = mailbox::NewTocHeader();
    header[72] = 2;
    header[102] = 1;
    EXPECT_EQ(Toc().substr(0, 104), header);
}

TEST_F(MailWriteTest, TextsOfManyKinds) {
    const std::string to = "To: you@y.example\r\n", from = "From: me@x.example\r\n";
    const std::string end = from + "Subject: Hi\r\n\r\nText\r\n";
    machine.files.Put("C:\\src\\2", "two");
    struct Row {
        const char* name;
        HostMail host;
        std::string text;
    };
    const auto body = [&](const std::string& stored) {
        return to + from + "Subject: Hi\r\n\r\n" + stored + "\r\n";
    };
    const std::string attached = "\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\doc";
    const Row rows[] = {
        {"no recipient", {.to = std::nullopt}, end},
        {"empty To", {.to = ""}, end},
        {"all classes",
         {.to = "a;b,c", .cc = "d", .bcc = "e;"},
         "To: a, b,c\r\nCc: d\r\nBcc: e\r\n" + end},
        {"nothing but separators", {.to = ";;"}, "To: \r\n" + end},
        {"no From", {.from = std::nullopt}, to + "From: \r\nSubject: Hi\r\n\r\nText\r\n"},
        {"no subject", {.subject = std::nullopt}, to + from + "Subject: \r\n\r\nText\r\n"},
        {"no body", {.body = std::nullopt}, body("")},
        {"own line ends", {.body = "a\r\nb\nc\r"}, body("a\r\nb\nc\r")},
        {"bare line feeds", {.body = "\na\n\n"}, body("\r\na\r\n\r\n")},
        {"a separator in the body", {.body = kSeparator + "To: x"}, body(kSeparator + "To: x")},
        {"no id", {.id = std::nullopt}, to + end},
        {"empty id", {.id = ""}, to + end},
        {"two files of one name",
         {.files = {"C:\\src\\1", "C:\\src\\2"}},
         to + end + attached + ".txt\"" + attached + "1.txt\"\r\n"},
        {"an entry without source",
         {.files = {""}},
         to + end + "\r\n\r\nAttachment Converted: \"\"\r\n"},
        {"a source that is missing",
         {.files = {"C:\\src\\1", "C:\\none"}},
         to + end + attached + ".txt\"\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const bool hasId = !row.host.id.value_or("").empty();
        EXPECT_EQ(Written(row.host), Head(hasId ? "a@b" : "0x00000002") + row.text);
        for (const char* copy : {"C:\\E\\Attach\\doc.txt", "C:\\E\\Attach\\doc1.txt"}) {
            const bool isNamed = row.text.find(copy) != std::string::npos;
            EXPECT_EQ(machine.files.Get(copy).has_value(), isNamed) << "kept as long as named";
            if (isNamed) (void)machine.files.Delete(copy);
        }
    }
}

TEST_F(MailWriteTest, ABoxTakes65535Mails) {
    MailboxBuilder box;
    for (std::uint32_t id = 1; id <= 65534; ++id) box.Block(id, 0, 0);
    box.Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    mail->Add({.id = "last", .files = {"C:\\src\\1"}});
    mail->Add({.id = "beyond", .files = {"C:\\src\\1"}});
    EXPECT_EQ(mail->AddNewRecord(0), RRC_OK);
    mail->Set("8", mail->Files({"C:\\src\\1"}, true));
    EXPECT_EQ(mail->Update(), "0x00010001/131073");
    EXPECT_EQ(mail->Close(0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m85 <0x00010000 \"Hi\">", "m85 <0x00010001>",
                                    "m86 <C:\\E\\Attach\\doc11.txt>"}));
    EXPECT_EQ(mailbox::TocHeader::Decode(Toc()).wNumberOfMsgs, 65535);
    EXPECT_EQ(Toc().size(), mailbox::BlockOffset(65535));
    EXPECT_NE(Mbx().find("<last>"), std::string::npos);
    EXPECT_EQ(Mbx().find("beyond"), std::string::npos);
    EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
    EXPECT_FALSE(machine.files.Get("C:\\E\\Attach\\doc1.txt")) << "of a mail that is not stored";
    EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc11.txt")) << "all that is left of its source";
    EXPECT_EQ(mail->ToMessageId().size(), 1U) << "of the last mail";
    EXPECT_TRUE(mail->m_queues.m_lstNewMails.empty());
    EXPECT_EQ(mail->Close(0), RRC_OK) << "refused once";
}

// What stands in an In.toc that is no table of ours, or behind the mails that it counts, is never
// cut or changed; what a run of ours left behind is.
TEST_F(MailWriteTest, OnlyItsOwnLeftoversGiveWay) {
    MailboxBuilder box;
    box.Mail(1, MailText({})).Mail(2, MailText({}));
    const std::string toc = box.Toc();
    const auto block = [](std::uint32_t offset, std::uint32_t length) {
        return MailboxBuilder().Block(9, offset, length).Toc().substr(104);
    };
    const auto end = static_cast<std::uint32_t>(box.mbx.size());
    const std::string left = "left by a run", leftover = block(end, 4), second = block(end + 4, 9);
    const std::string macintosh = std::string("\0\1", 2) + std::string(276, '\0');
    std::string entries;
    for (int i = 0; i < 20; ++i) entries += std::string(200, 'e') + std::string(20, '\0');
    const std::string lost = MailboxBuilder(box).Block(3, 4'194'304, 218).Toc();
    std::string odd = toc;
    odd[1] = '\x7F';
    const std::string turned = toc.substr(0, 104) + toc.substr(104 + 218) + toc.substr(104, 218);
    std::vector<std::tuple<std::string, std::string, bool>> rows = {
        {"a Macintosh file", macintosh + entries, false},
        {"an empty Macintosh file", macintosh, false},
        {"a text", std::string(5000, 't'), false},
        {"a short text", "no table", false},
        {"bytes behind the blocks", toc + "more", false},
        {"a mail that is not counted", toc + block(0, 20), false},
        {"one that is not behind the last", toc + block(end - 1, 5), false},
        {"one in the last, which stands first", turned + block(end - 1, 5), false},
        {"one that is not in the file", toc + block(end, 200), false},
        {"one after leftovers", toc + leftover + block(0, 20), false},
        {"leftovers", toc + leftover + second, true},
        {"leftovers behind a box in another order", turned + leftover + second, true},
        {"leftovers, not written out", toc + leftover + std::string(300, '\0'), true},
        {"leftovers behind a block that leads nowhere", lost + leftover, true},
        {"an unknown version, nothing behind it", odd, true},
        {"no byte", "", true},
        {"half a block", toc.substr(0, 400), true},
    };
    for (std::size_t size = 1; size < second.size(); ++size) {
        rows.emplace_back("leftovers, cut short", toc + leftover + second.substr(0, size), true);
    }
    for (const auto& [name, bytes, isOurs] : rows) {
        SCOPED_TRACE(name);
        machine.files.Put("C:\\E\\In.mbx", box.mbx + left);
        machine.files.Put("C:\\E\\In.toc", bytes);
        machine.files.Put("C:\\src\\1", "one");
        Restart();
        ASSERT_EQ(Open(), RRC_OK);
        mail->m_queues.m_mapMailStatus[0x65656565] = 131073;
        EXPECT_EQ(mail->AddNewRecord(0), RRC_OK);
        mail->Fill({});
        mail->Set("8", mail->Files({"C:\\src\\1"}, true));
        (void)mail->Update();
        EXPECT_EQ(mail->Close(0), isOurs ? RRC_OK : RRC_FAILED);
        const Texts errors = DrainErrors();
        EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
        (void)machine.files.Delete("C:\\E\\Attach\\doc.txt");
        if (isOurs) {
            EXPECT_EQ(Mbx().substr(0, end + left.size()), box.mbx + left);
            EXPECT_EQ(Toc().size(),
                      mailbox::BlockOffset(mailbox::TocHeader::Decode(Toc()).wNumberOfMsgs));
            continue;
        }
        EXPECT_EQ(Mbx(), box.mbx + left);
        EXPECT_EQ(Toc(), bytes);
        EXPECT_EQ(errors.front(), "m87 <C:\\E\\In.toc>");
        EXPECT_EQ(errors.at(1), "m86 <C:\\E\\Attach\\doc.txt>");
    }
}

TEST_F(MailWriteTest, StatesChangeTwoBytesAlone) {
    MailboxBuilder box;
    for (const std::uint32_t id : {9U, 3U, 0xFFFFFFFFU, 5U}) box.Mail(id, MailText({}), 0x0107);
    const std::string tail(217, 'y');  // one byte too short for a block
    const auto stored = [&](mailstore::States states) {
        machine.files.Put("C:\\E\\In.toc", box.Toc() + tail);
        ASSERT_EQ(Open(), RRC_OK);
        mail->m_queues.m_mapMailStatus = std::move(states);
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_TRUE(mail->m_queues.m_mapMailStatus.empty());
    };
    machine.files.Put("C:\\E\\In.mbx", box.mbx);
    const std::uint32_t id = 0x79797979;  // what the tail would have
    stored({{9, 131073}, {0xFFFFFFFF, 1}, {5, 4}, {id, 131073}});
    auto wanted = box;
    wanted.blocks[0].wStatus = 1;
    wanted.blocks[2].wStatus = 0;
    wanted.blocks[3].wStatus = 0;
    EXPECT_EQ(Toc(), wanted.Toc() + tail);
    for (const auto& [text, state] : {std::pair{131073U, 1}, {1U, 0}, {0xFFFFFFFFU, 1}, {4U, 0}}) {
        stored({{3, text}});
        EXPECT_EQ(Toc()[104 + 218 + 12], state) << text;
        EXPECT_EQ(Toc().substr(104 + 218 + 13),
                  box.Toc().substr(104 + 218 + 13).replace(0, 1, 1, '\0') + tail);
    }
    machine.dialogs.waitsBegun = machine.dialogs.waitsEnded = 0;
    machine.faults.Arm(platform::testing::Fault::kNone, 0);
    EXPECT_EQ(mail->m_queues.UpdateMailStatus(util), RRC_OK);
    EXPECT_EQ(machine.faults.Operations(), 0) << "nothing noted: not opened";
    EXPECT_EQ(machine.dialogs.waitsBegun + machine.dialogs.waitsEnded, 2);
}

}  // namespace
