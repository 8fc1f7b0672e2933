#include <functional>
#include <tuple>

#include "tests/mailstore/writing_fixture.h"

namespace {

using IdTexts = OpenedMail::IdTexts;

// What a host says about the record that it is about to store.
struct Vetted {
    std::int32_t status = 1;
    RRETURNCODE statusCode = RRC_OK, fromCode = RRC_OK;
    const char* from = "a@b";
    BOOL hasFrom = 1;
    int asked = 0;

    static RRETURNCODE Give(void* context, const char* field, void** cell, unsigned long* type,
                            BOOL* hasField) {
        auto& self = *static_cast<Vetted*>(context);
        ++self.asked;
        const bool isStatus = std::string(field) == "10";
        EXPECT_STREQ(field, isStatus ? "10" : "1");
        EXPECT_EQ(*type, isStatus ? 1U : 4U);
        *cell = isStatus ? static_cast<void*>(&self.status) : &self.from;
        *hasField = isStatus ? 1 : self.hasFrom;
        return isStatus ? self.statusCode : self.fromCode;
    }
};

class MailEditTest : public WritingTest {};

TEST_F(MailEditTest, VetsTheSenderOfReceivedMails) {
    struct Row {
        Vetted host;
        RRETURNCODE code;
        int asked;
        Texts errors;
    };
    for (Row row :
         {Row{{}, RRC_OK, 2, {}}, Row{{.status = 0x20001}, RRC_OK, 2, {}},
          Row{{.from = ""}, RRC_FAILED, 2, {"m80"}}, Row{{.from = nullptr}, RRC_FAILED, 2, {"m80"}},
          Row{{.from = "", .hasFrom = 0}, RRC_OK, 2, {}},
          Row{{.status = 2, .from = ""}, RRC_OK, 1, {}},
          Row{{.status = 4, .from = ""}, RRC_OK, 1, {}},
          Row{{.status = 0, .from = ""}, RRC_OK, 1, {}},
          Row{{.statusCode = RRC_EOF}, RRC_EOF, 1, {}},
          Row{{.fromCode = RRC_EOF}, RRC_EOF, 2, {}}}) {
        BOOL isOk = 7;
        EXPECT_EQ(mail->IsOkToSetRecord(0, &Vetted::Give, &row.host, &isOk), row.code);
        EXPECT_EQ(isOk, row.code == RRC_OK ? 1 : 0);
        EXPECT_EQ(row.host.asked, row.asked);
        EXPECT_EQ(DrainErrors(), row.errors);
    }
}

TEST_F(MailEditTest, ThreePlacesForRecords) {
    MailboxBuilder().Mail(1, MailText({}), 1).Mail(2, MailText({}), 0).Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->Add({}), "0x00000003/1");
    EXPECT_EQ(mail->Add({.status = 0x20001}), "0x00000004/131073");
    EXPECT_EQ(mail->Add({.status = 2}), "/") << "no id in the out-box, but it takes a number";
    EXPECT_EQ(mail->Add({.status = 4}), "/");
    EXPECT_EQ(mail->Add({.status = 0, .id = std::nullopt}), "0x00000007/131073");
    EXPECT_EQ(mail->m_draft.m_lpNewMessage, nullptr);
    EXPECT_EQ(mail->m_queues.m_lstNewMails.size(), 3U);
    EXPECT_EQ(mail->m_queues.m_lstOutBoxMails.size(), 2U);
    EXPECT_EQ(mail->Edit("0x00000002", 0x20001), "0x00000002/1") << "read from the raw number";
    EXPECT_EQ(mail->Edit("0x00000002", std::nullopt), "0x00000002/1") << "as it is stored";
    EXPECT_EQ(mail->Edit("0x00000001", std::nullopt), "0x00000001/131073");
    EXPECT_EQ(mail->GoToRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(mail->Edit("", 1), "/") << "the current mail, whose id is kept back";
    EXPECT_EQ(mail->m_queues.m_mapMailStatus,
              (mailstore::States{{1, 1}, {2, 131073}, {3, 1}, {4, 131073}, {7, 0}}));
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(States(2), "01010");
    const auto out = machine.files.Get("C:\\E\\Out.toc").value_or("");
    EXPECT_EQ(mailbox::TocHeader::Decode(out).wNumberOfMsgs, 1) << "status 4 sends nothing";
}

// What one edit has set reaches its own mail, and that one only by an update.
TEST_F(MailEditTest, AStatusBelongsToOneEdit) {
    using Step = std::function<void(WritingMail&)>;
    const auto edit = [](const char* id) { return [id](WritingMail& m) { m.EditRecord(id); }; };
    const auto go = [](const char* id) { return [id](WritingMail& m) { m.GoToRecord(id); }; };
    const auto set = [](std::int32_t to) { return [to](WritingMail& m) { m.SetCell("10", to); }; };
    const Step again = [](WritingMail& m) { m.EditRecord(); };
    const Step update = [](WritingMail& m) { (void)m.Update(); };
    const Step close = [](WritingMail& m) { m.Close(0); };
    const Step send = [](WritingMail& m) { m.Add({.status = 2}); };
    const char *unread = "0x00000001", *read = "0x00000002", *sent = "0x00000003";
    const std::tuple<const char*, std::vector<Step>, const char*> rows[] = {
        {"nothing set", {edit(unread), update, edit(read), update, edit(sent), update}, "011"},
        {"another mail", {edit(unread), set(1), go(read), update}, "018"},
        {"another mail", {edit(read), set(0x20001), go(unread), update}, "018"},
        {"given up", {edit(read), set(1), again, update}, "018"},
        {"given up", {edit(unread), set(0x20001), again, update}, "018"},
        {"once more", {edit(unread), set(0x20001), update, close, again, update}, "118"},
        {"no such mail", {edit(unread), set(0x20001), go("0x9"), again, set(1), update}, "018"},
        {"one in the out-box", {go(read), send, again, set(1), update}, "018"},
    };
    for (const auto& [name, steps, states] : rows) {
        SCOPED_TRACE(name);
        MailboxBuilder()
            .Mail(1, MailText({}), 0)
            .Mail(2, MailText({}), 1)
            .Mail(3, MailText({}), 8)
            .Put(machine.files, "C:\\E");
        Restart();
        ASSERT_EQ(Open(), RRC_OK);
        for (const Step& step : steps) step(*mail);
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_EQ(States(3), states);
        (void)DrainErrors();
    }
}

// Under AddressSanitizer: each record is released once.
TEST_F(MailEditTest, AnAbandonedRecordLeavesNothing) {
    ASSERT_EQ(Open(), RRC_OK);
    for (const std::int32_t status : {1, 2, 1, 2}) {
        ASSERT_EQ(mail->AddNewRecord(0), RRC_OK);
        mail->Fill({.status = status, .files = {"C:\\src\\1"}});
        (void)mail->EditRecord();
    }
    ASSERT_EQ(mail->AddNewRecord(0), RRC_OK);
    EXPECT_FALSE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
    mail->Fill({.to = std::nullopt});
    for (int i : {1, 2}) EXPECT_EQ(mail->Update(), "0x00000006/1") << "twice is once: " << i;
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(Read().size(), 1U);
}

TEST_F(MailEditTest, RecipientsAreSplit) {
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->AddNewRecord(0), RRC_OK);
    mail->Fill({.to = ";;a; b,,c", .cc = "d", .bcc = ",", .status = 2});
    for (const char* field : {"2", "3", "4"}) mail->Set(field, "");  // change nothing
    (void)mail->Update();
    const MapiMessage& record = *mail->m_queues.m_lstOutBoxMails.front();
    std::string all;
    for (std::uint32_t i = 0; i < record.nRecipCount; ++i) {
        EXPECT_STREQ(record.lpRecips[i].lpszName, record.lpRecips[i].lpszAddress);
        all += std::to_string(record.lpRecips[i].ulRecipClass) + record.lpRecips[i].lpszName + ' ';
    }
    EXPECT_EQ(all, "1a 1 b 1c 2d ");
}

TEST_F(MailEditTest, DeletionsAreAtOnceAndOfTheRightMail) {
    MailboxBuilder()
        .Mail(1, MailText({"Message-ID: <a>"}))
        .Mail(2, MailText({"Message-ID: <b>"}))
        .Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    mail->Edit("0x00000001", 0x20001);
    EXPECT_EQ(mail->DeleteRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(mail->ToMessageId(), (IdTexts{{"0x00000002", "b"}}));
    EXPECT_TRUE(mail->m_queues.m_mapMailStatus.empty());
    EXPECT_EQ(mail->GoToRecord("0x00000002"), RRC_OK);
    mail->Add({.status = 2});
    EXPECT_EQ(mail->DeleteRecord(), RRC_FAILED) << "an out-box record is not the mail before it";
    EXPECT_EQ(DrainErrors().size(), 1U);
    EXPECT_EQ(mail->DeleteRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(Read(9).size(), 1U);
    EXPECT_EQ(mail->GoToRecord("0x00000002"), RRC_OK);
    EXPECT_EQ(mail->DeleteRecord(""), RRC_OK) << "the current mail";
    EXPECT_EQ(Read(9).size(), 0U);
}

TEST_F(MailEditTest, AfterDeletingAllNumbersBeginAnew) {
    MailboxBuilder().Mail(8, MailText({})).Mail(9, MailText({})).Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->Add({.id = "waits"}), "0x0000000A/1");
    EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(mail->ToMessageId(), (IdTexts{{"0x0000000A", "waits"}}));
    for (const char* id : {"0x00000001/1", "0x00000002/1"}) EXPECT_EQ(mail->Add({}), id);
    mail->m_ids.m_dwNextIndexID = 9;
    EXPECT_EQ(mail->Add({}), "0x0000000B/1") << "not the number of the mail that waits";
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_NE(Mbx().find("<waits>"), std::string::npos);
    EXPECT_EQ(Read(9).size(), 4U);
}

// A mail that the limits hide outlives the deletion, and keeps its id and state for itself.
TEST_F(MailEditTest, AfterDeletingAllButHiddenMails) {
    const std::string big = std::string(3000, 'b') + "\r\n";
    MailboxBuilder()
        .Mail(7, MailText({}), 0)
        .Mail(0xFFFFFFFE, MailText({"Message-ID: <big>"}, big), 0)
        .Mail(1, "From ???@??? no recipient, so in no index\r\n\r\n" + big, 0)
        .Put(machine.files, "C:\\E");
    mail->m_appInfo.m_bLimitMailSize = 1;
    mail->m_appInfo.m_nMailLimitKB = 2;
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(mail->ToMessageId().at("0xFFFFFFFE"), "big");
    for (const char* id : {"0xFFFFFFFF", "0x00000002", "0x00000003"}) {
        EXPECT_EQ(mail->Add({.status = 0x20001}), std::string(id) + "/131073");
    }
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(States(9), "00111");
}

// Without an index a new number could be that of a mail that is there.
TEST_F(MailEditTest, NothingIsAddedToAMailboxThatWasNotRead) {
    MailboxBuilder()
        .Mail(1, MailText({}))
        .Mail(0xFFFFFFFF, MailText({}))
        .Put(machine.files, "C:\\E");
    machine.faults.Arm(platform::testing::Fault::kKill, 1);
    EXPECT_EQ(Open(), RRC_FAILED);
    machine.faults.Disarm();
    (void)DrainErrors();
    EXPECT_EQ(mail->AddNewRecord(0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m88 <C:\\E\\In.mbx>"});
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->Add({}), "0x00000002/1") << "neither 0 nor a number that is taken";
}

}  // namespace
