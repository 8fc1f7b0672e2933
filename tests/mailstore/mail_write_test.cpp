#include "mailstore/new_mail_writer.h"
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
        machine.files.Put("C:\\E\\In.toc", mailstore::NewTocHeader());
        Restart();
        Store({host});
        (void)Read();
        return Mbx();
    }
};

TEST_F(MailWriteTest, AMailAndItsBlockByteForByte) {
    HostMail host{.subject = "Ad", .body = "a\nb"};
    host.status = 0x20001;
    const std::string text = Head("a@b") +
                             "To: you@y.example\r\nFrom: me@x.example\r\nSubject: Ad\r\n\r\n"
                             "a\r\nb\r\n";
    EXPECT_EQ(Written(host), text);
    std::string block(218, '\0');
    const auto put = [&](std::size_t at, std::string_view bytes) {
        bytes.copy(block.data() + at, bytes.size());
    };
    put(4, std::string(1, static_cast<char>(text.size())));
    // 2003-01-31 20:05:09: the UTC time read as local time once more
    put(8, "\xF5\xD6\x3A\x3E");
    put(12, "\x01");
    put(14, "\xBE\x01\x03");
    put(18, "05:05 AM 2/1/103 +0900");
    put(50, "me@x.example");
    put(114, "Ad");
    put(178, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
    put(192, "\x02");
    put(198, "\x01");
    put(202, "\x5C\xFE");
    put(208, "\x01");
    EXPECT_EQ(Toc().substr(104), block);
    std::string header = mailstore::NewTocHeader();
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
    const Row rows[] = {
        {"no recipient", {.to = std::nullopt}, Head("a@b") + end},
        {"empty To", {.to = ""}, Head("a@b") + end},
        {"all classes",
         {.to = "a;b,c", .cc = "d", .bcc = "e;"},
         Head("a@b") + "To: a, b,c\r\nCc: d\r\nBcc: e\r\n" + end},
        {"nothing but separators", {.to = ";;"}, Head("a@b") + "To: \r\n" + end},
        {"no From",
         {.from = std::nullopt},
         Head("a@b") + to + "From: \r\nSubject: Hi\r\n\r\nText\r\n"},
        {"no subject",
         {.subject = std::nullopt},
         Head("a@b") + to + from + "Subject: \r\n\r\nText\r\n"},
        {"no body", {.body = std::nullopt}, Head("a@b") + to + from + "Subject: Hi\r\n\r\n\r\n"},
        {"own line ends",
         {.body = "a\r\nb\nc\r"},
         Head("a@b") + to + from + "Subject: Hi\r\n\r\na\r\nb\nc\r\r\n"},
        {"bare line feeds",
         {.body = "\na\n\n"},
         Head("a@b") + to + from + "Subject: Hi\r\n\r\n\r\na\r\n\r\n\r\n"},
        {"a separator in the body",
         {.body = kSeparator + "To: x"},
         Head("a@b") + to + from + "Subject: Hi\r\n\r\n" + kSeparator + "To: x\r\n"},
        {"no id", {.id = std::nullopt}, Head("0x00000002") + to + end},
        {"empty id", {.id = ""}, Head("0x00000002") + to + end},
        {"two files of one name",
         {.files = {"C:\\src\\1", "C:\\src\\2"}},
         Head("a@b") + to + end + "\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\doc.txt\"" +
             "\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\doc1.txt\"\r\n"},
        {"an entry without source",
         {.files = {""}},
         Head("a@b") + to + end + "\r\n\r\nAttachment Converted: \"\"\r\n"},
        {"a source that is missing behind one that is not",
         {.files = {"C:\\src\\1", "C:\\none"}},
         Head("a@b") + to + end + "\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\doc.txt\"\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Written(row.host), row.text);
        for (const char* copy : {"C:\\E\\Attach\\doc.txt", "C:\\E\\Attach\\doc1.txt"}) {
            const bool isNamed = row.text.find(copy) != std::string::npos;
            EXPECT_EQ(machine.files.Get(copy).has_value(), isNamed) << "kept as long as named";
            if (isNamed) (void)machine.files.Delete(copy);
        }
    }
}

TEST_F(MailWriteTest, ShortTextsEndWithAWholeCharacter) {
    machine.processes.codePage = 932;
    const std::string kanji = "\x8A\xBF";
    for (const auto& [text, held] :
         {std::pair{std::string(62, 'a'), std::string(62, 'a')},
          {std::string(63, 'a'), std::string(63, 'a')},
          {std::string(64, 'a'), std::string(63, 'a')},
          {std::string(60, 'a') + kanji, std::string(60, 'a') + kanji},
          {std::string(61, 'a') + kanji, std::string(61, 'a') + kanji},
          {std::string(62, 'a') + kanji, std::string(62, 'a')},
          {std::string(62, 'a') + kanji + "b", std::string(62, 'a')},
          {std::string(63, 'a') + kanji, std::string(63, 'a')},
          {"a" + kanji + std::string(61, '\xB1'), "a" + kanji + std::string(60, '\xB1')}}) {
        const auto whole = Written({.from = text, .subject = text});
        EXPECT_NE(whole.find("From: " + text + "\r\nSubject: " + text + "\r\n"), whole.npos);
        const auto block = mailstore::MsgBlock::Decode(Toc().substr(104));
        EXPECT_EQ(block.szFrom, held) << text.size();
        EXPECT_EQ(block.szSubject, held) << text.size();
    }
}

TEST_F(MailWriteTest, JapaneseHasItsOwnDateInTheBlock) {
    util.csLanguage = "JP";
    Written({});
    EXPECT_EQ(Read().at(0).date, "05:05: 9 2/1/103 +0900");
}

TEST_F(MailWriteTest, MailsFollowOneAnother) {
    MailboxBuilder().Mail(40, MailText({"Message-ID: <old@x>"}), 8).Put(machine.files, "C:\\E");
    const auto old = Mbx();
    Store({{.id = "1"}, {.id = "2"}, {.id = "3"}});
    const auto mails = Read(1);
    ASSERT_EQ(mails.size(), 4U);
    EXPECT_EQ(mails[1].offset, old.size());
    EXPECT_EQ(mails[0].state, 8);
    EXPECT_EQ(mails[3].id, 43U);
    Restart();
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->ToIndexId(), (OpenedMail::IdTexts{{"old@x", "0x00000028"},
                                                      {"1", "0x00000029"},
                                                      {"2", "0x0000002A"},
                                                      {"3", "0x0000002B"}}));
}

TEST_F(MailWriteTest, LeftoversOfAKilledRunAreNoMails) {
    MailboxBuilder box;
    box.Mail(7, MailText({})).Put(machine.files, "C:\\E");
    const std::string torn =
        "From ???@??"
        "? Sat";
    machine.files.Put("C:\\E\\In.mbx", Mbx() + torn);
    machine.files.Put("C:\\E\\In.toc", Toc() + std::string(218 + 100, 'x'));
    Store({{}});
    EXPECT_EQ(Toc().size(), 104U + 2 * 218);
    EXPECT_EQ(Read(1).at(1).offset, box.mbx.size() + torn.size());
}

TEST_F(MailWriteTest, ABoxTakes65535Mails) {
    MailboxBuilder box;
    for (std::uint32_t id = 1; id <= 65534; ++id) box.Block(id, 0, 0);
    box.Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    mail->Add({.id = "last", .files = {"C:\\src\\1"}});
    mail->Add({.id = "beyond", .files = {"C:\\src\\1"}});
    mail->Add({.id = "far beyond"});
    EXPECT_EQ(mail->Close(0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(),
              Texts{"C:\\E\\In.mbx: the mailbox is full; mails that were not stored: 2"});
    EXPECT_EQ(mailstore::TocHeader::Decode(Toc()).wNumberOfMsgs, 65535);
    EXPECT_EQ(Toc().size(), mailstore::BlockOffset(65535));
    EXPECT_NE(Mbx().find("<last>"), std::string::npos);
    EXPECT_EQ(Mbx().find("beyond"), std::string::npos);
    EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
    EXPECT_FALSE(machine.files.Get("C:\\E\\Attach\\doc1.txt")) << "of a mail that is not stored";
    EXPECT_TRUE(mail->m_lstNewMails.empty());
    EXPECT_EQ(mail->Close(0), RRC_OK) << "refused once";
}

// A .mbx file that claims to be long.
class FarFile : public platform::File {
  public:
    FarFile(platform::File& inner, std::uint64_t size) : m_inner(inner), m_size(size) {}
    platform::Result<std::size_t> Read(std::span<char> buffer) override {
        return m_inner.Read(buffer);
    }
    platform::Status Write(std::string_view bytes) override {
        written += bytes;
        return {};
    }
    platform::Result<std::uint64_t> Seek(std::int64_t, platform::SeekFrom) override {
        return m_size;
    }
    platform::Result<std::uint64_t> Size() override { return m_size; }
    platform::Status Truncate(std::uint64_t) override { return {}; }
    platform::Status Flush() override { return {}; }
    platform::Status Close() override { return {}; }

    std::string written;

  private:
    platform::File& m_inner;
    std::uint64_t m_size;
};

TEST_F(MailWriteTest, NoMailReachesBeyondFourGigabytes) {
    machine.files.Put("C:\\far.toc", mailstore::NewTocHeader());
    const auto toc =
        *machine.files.Open("C:\\far.toc", platform::OpenMode::kReadWrite, platform::Share::kRead);
    MapiMessage record{};
    const std::vector<mailstore::NewMail> mails(3, {&record, "x"});
    FarFile probe(*toc, 0);
    const auto append = [&](FarFile& mbx) {
        return mailstore::AppendMails(
            {mbx, *toc, machine.clock, {"From", "Attachment Converted:"}, 1252, false, 9}, mails);
    };
    ASSERT_EQ(append(probe).written, 3U);
    const std::uint64_t length = probe.written.size() / 3, limit = 0xFFFFFFFF;
    for (const auto& [start, stored] : {std::pair{limit - 3 * length, 3U},
                                        {limit - 3 * length + 1, 2U},
                                        {limit - length, 1U},
                                        {limit, 0U},
                                        {limit + 1000, 0U}}) {
        FarFile mbx(*toc, start);
        const auto result = append(mbx);
        EXPECT_EQ(result.written, stored) << start;
        EXPECT_EQ(result.refused, 3 - stored) << start;
        EXPECT_FALSE(result.failure);
        EXPECT_EQ(mbx.written.size(), stored * length);
    }
    (void)toc->Close();
}

TEST_F(MailWriteTest, AFileInUseLosesTheMailsAndNothingElse) {
    for (const char* held : {"C:\\E\\In.mbx", "C:\\E\\In.toc"}) {
        SCOPED_TRACE(held);
        MailboxBuilder().Mail(1, MailText({})).Put(machine.files, "C:\\E");
        Restart();
        ASSERT_EQ(Open(), RRC_OK);
        mail->Edit("0x00000001", 0x20001);
        mail->Add({.files = {"C:\\src\\1"}});
        const auto mbx = Mbx(), toc = Toc();
        const bool isMbx = std::string(held).ends_with("mbx");
        auto other = *machine.files.Open(held, platform::OpenMode::kRead, platform::Share::kRead);
        EXPECT_EQ(mail->Close(0), RRC_FAILED);
        EXPECT_EQ(DrainErrors().front(), std::string("no <") + held + ">");
        EXPECT_EQ(Mbx(), mbx);
        EXPECT_EQ(Toc().substr(0, 104), toc.substr(0, 104));
        EXPECT_EQ(Toc()[104 + 12], isMbx ? 1 : 0) << "the state is stored where it can be";
        EXPECT_TRUE(mail->m_lstNewMails.empty());
        EXPECT_TRUE(mail->m_mapMailStatus.empty());
        EXPECT_FALSE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
        EXPECT_EQ(machine.dialogs.waitsBegun, machine.dialogs.waitsEnded);
        (void)other->Close();
    }
}

TEST_F(MailWriteTest, StatesChangeTwoBytesAlone) {
    MailboxBuilder box;
    for (const std::uint32_t id : {9U, 3U, 0xFFFFFFFFU, 5U}) box.Mail(id, MailText({}), 7);
    const std::string tail(217, 'y');  // one byte too short for a block
    const auto stored = [&](std::map<std::string, std::string> states) {
        machine.files.Put("C:\\E\\In.toc", box.Toc() + tail);
        ASSERT_EQ(Open(), RRC_OK);
        mail->m_mapMailStatus = std::move(states);
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_TRUE(mail->m_mapMailStatus.empty());
    };
    machine.files.Put("C:\\E\\In.mbx", box.mbx);
    const std::string id = "0x79797979";  // what the tail would have
    stored({{"0x00000009", "131073"}, {"0xFFFFFFFF", "1"}, {"0x5", "0x20001"}, {id, "131073"}});
    auto wanted = box;
    wanted.blocks[0].wStatus = 1;
    wanted.blocks[2].wStatus = 0;
    wanted.blocks[3].wStatus = 0;
    EXPECT_EQ(Toc(), wanted.Toc() + tail);
    for (const auto& [text, state] : {std::pair{"131073", 1},
                                      {"1", 0},
                                      {"0", 0},
                                      {"131072", 1},
                                      {"-1", 1},
                                      {"4", 0},
                                      {"393217", 0 + 1}}) {
        stored({{"0x00000003", text}});
        EXPECT_EQ(Toc()[104 + 218 + 12], state) << text;
        EXPECT_EQ(Toc().substr(104 + 218 + 13),
                  box.Toc().substr(104 + 218 + 13).replace(0, 1, 1, '\0') + tail);
    }
    machine.dialogs.waitsBegun = machine.dialogs.waitsEnded = 0;
    machine.faults.Arm(platform::testing::Fault::kNone, 0);
    EXPECT_EQ(mail->UpdateMailStatus(), RRC_OK);
    EXPECT_EQ(machine.faults.Operations(), 0) << "nothing noted: not opened";
    EXPECT_EQ(machine.dialogs.waitsBegun + machine.dialogs.waitsEnded, 2);
}

}  // namespace
