#include "mailstore/recipients.h"
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
    EXPECT_EQ(mail->m_lpNewMessage, nullptr);
    EXPECT_EQ(mail->m_lstNewMails.size(), 3U);
    EXPECT_EQ(mail->m_lstOutBoxMails.size(), 2U);
    EXPECT_EQ(mail->Edit("0x00000002", 0x20001), "0x00000002/1") << "read from the raw number";
    EXPECT_EQ(mail->Edit("0x00000002", std::nullopt), "0x00000002/1") << "as it is stored";
    EXPECT_EQ(mail->Edit("0x00000001", std::nullopt), "0x00000001/131073");
    EXPECT_EQ(mail->Edit("", 1), "/");
    EXPECT_EQ(mail->m_mapMailStatus, (IdTexts{{"0x00000001", "131073"},
                                              {"0x00000002", "131073"},
                                              {"0x00000003", "1"},
                                              {"0x00000004", "131073"},
                                              {"0x00000007", "0"}}));
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(States(2), "11010");
    const auto out = machine.files.Get("C:\\E\\Out.toc").value_or("");
    EXPECT_EQ(mailstore::TocHeader::Decode(out).wNumberOfMsgs, 1) << "status 4 sends nothing";
}

TEST_F(MailEditTest, OnlyTheStateOfAStoredMailChanges) {
    MailboxBuilder().Mail(1, MailText({}), 0).Put(machine.files, "C:\\E");
    const auto before = Toc() + Mbx();
    ASSERT_EQ(Open(), RRC_OK);
    ASSERT_EQ(mail->EditRecord("0x00000001"), RRC_OK);
    mail->Fill({.status = 1});
    EXPECT_EQ(mail->Update(), "0x00000001/1");
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(Toc() + Mbx(), before);
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

TEST_F(MailEditTest, RecipientsJoinedAndSplit) {
    for (const auto& [text, joined, split] : {std::tuple{"", "", Texts{}},
                                              {"a;b,c", "a, b,c", {"a", "b", "c"}},
                                              {";;a;;b;", "a, b", {"a", "b"}},
                                              {"a; b", "a,  b", {"a", " b"}},
                                              {",a,,b;,", ",a,,b, ,", {"a", "b"}},
                                              {";", "", {}}}) {
        EXPECT_EQ(mailstore::JoinAddresses(text), joined) << text;
        EXPECT_EQ(mailstore::SplitAddresses(text), split) << text;
    }
    ASSERT_EQ(Open(), RRC_OK);
    mail->Add({.to = "a;b,c", .cc = "d", .bcc = ",", .status = 2});
    const MapiMessage& record = *mail->m_lstOutBoxMails.front();
    std::string all;
    for (std::uint32_t i = 0; i < record.nRecipCount; ++i) {
        EXPECT_STREQ(record.lpRecips[i].lpszName, record.lpRecips[i].lpszAddress);
        all += std::to_string(record.lpRecips[i].ulRecipClass) + record.lpRecips[i].lpszName + ' ';
    }
    EXPECT_EQ(all, "1a 1b 1c 2d ");
}

TEST_F(MailEditTest, DeletionsAreAtOnceAndOfTheRightMail) {
    MailboxBuilder()
        .Mail(1, MailText({"Message-ID: <a>"}))
        .Mail(2, MailText({"Message-ID: <b>"}))
        .Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    mail->Edit("0x00000001", 0x20001);
    EXPECT_EQ(mail->DeleteRecord("0x00000001"), RRC_OK);
    EXPECT_EQ(mail->ToIndexId(), (IdTexts{{"b", "0x00000002"}}));
    EXPECT_EQ(mail->ToMessageId(), (IdTexts{{"0x00000002", "b"}}));
    EXPECT_TRUE(mail->m_mapMailStatus.empty());
    EXPECT_EQ(mail->GoToRecord("0x00000002"), RRC_OK);
    EXPECT_EQ(mail->GoToRecord(""), RRC_OK);
    EXPECT_EQ(mail->DeleteRecord(), RRC_FAILED) << "an out-box record is not the current mail";
    EXPECT_EQ(DrainErrors().size(), 1U);
    EXPECT_EQ(mail->DeleteRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(Read(9).size(), 1U);
    EXPECT_EQ(mail->ToIndexId().size(), 1U);
}

TEST_F(MailEditTest, AfterDeletingAllNumbersBeginAnew) {
    MailboxBuilder().Mail(8, MailText({})).Mail(9, MailText({})).Put(machine.files, "C:\\E");
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->Add({.id = "waits"}), "0x0000000A/1");
    EXPECT_EQ(mail->GoToRecord(""), RRC_OK);
    EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(mail->ToMessageId(), (IdTexts{{"0x0000000A", "waits"}}));
    for (const char* id : {"0x00000001/1", "0x00000002/1"}) EXPECT_EQ(mail->Add({}), id);
    mail->m_dwNextIndexID = 9;
    EXPECT_EQ(mail->Add({}), "0x0000000B/1") << "not the number of the mail that waits";
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_NE(Mbx().find("<waits>"), std::string::npos);
    EXPECT_EQ(Read(9).size(), 4U);
}

TEST_F(MailEditTest, AMailThatIsNotSentIsReported) {
    library.failSends = 4;
    ASSERT_EQ(Open(), RRC_OK);
    mail->Add({.status = 2});
    mail->Add({.id = "stored"});
    EXPECT_EQ(mail->Close(0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m19"});
    EXPECT_EQ(Read().size(), 1U) << "the other steps run";
}

}  // namespace
