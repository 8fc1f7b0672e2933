#include <algorithm>

#include "tests/frame/log_capture.h"
#include "tests/mailstore/mail_fixture.h"

using platform::testing::Fault;

namespace {

constexpr const char* kFlagKey = "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld";

class MailOpenTest : public MailFixture {
  protected:
    std::string Flag() {
        const auto number = machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                                        kFlagKey, "RecCntFlag");
        return number ? std::to_string(*number) : "none";
    }
};

TEST_F(MailOpenTest, MakesWhatIsMissing) {
    OpenedMail mail;
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(Mbx(), "");
    EXPECT_EQ(Toc(), mailstore::NewTocHeader());
    EXPECT_EQ(mail.m_bBoxFileOpenFlag, 1);
    EXPECT_EQ(mail.m_dwNextIndexID, 1U) << "the first new mail becomes number 2";
    EXPECT_EQ(mail.m_pMapi, &util.mapi);
    EXPECT_EQ(machine.files.OpenCount(), 0);
    // A .toc file beside a mailbox that has mails already.
    machine.files.Put("C:\\E\\In.mbx", MailText({}));
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.toc"));
    OpenedMail other;
    EXPECT_EQ(other.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(Mbx(), MailText({}));
    EXPECT_EQ(Toc(), mailstore::NewTocHeader());
    EXPECT_TRUE(other.ToIndexId().empty());
}

TEST_F(MailOpenTest, TiesTheTwoNamesOfAMail) {
    MailboxBuilder box;
    box.Mail(3, MailText({"Message-ID: <one@x>"}))
        .Mail(0xABCDEF, MailText({"Message-Id: <two@x>"}))
        .Mail(5, MailText({"Subject: none"}))
        .Mail(6, "From ???@???\r\nno recipient\r\n")
        .Mail(7, MailText({"Reply-To: r", "Message-ID: <behind@x>"}))
        .Mail(8, MailText({"Message-ID: <one@x>"}))
        .Block(9, 1U << 31, 100)
        .Block(10, 0, 0xFFFFFFFF);
    box.Put(machine.files, "C:\\E");
    OpenedMail mail;
    LogCapture log;
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    using Texts = OpenedMail::Texts;
    EXPECT_EQ(mail.ToMessageId(), (Texts{{"0x00000003", "one@x"},
                                         {"0x00ABCDEF", "two@x"},
                                         {"0x00000005", "0x00000005"},
                                         {"0x00000007", "0x00000007"},
                                         {"0x00000008", "one@x"},
                                         {"0x0000000A", "one@x"}}));
    EXPECT_EQ(mail.ToIndexId(), (Texts{{"one@x", "0x0000000A"},
                                       {"two@x", "0x00ABCDEF"},
                                       {"0x00000005", "0x00000005"},
                                       {"0x00000007", "0x00000007"}}))
        << "the last mail of an id has it";
    std::vector<std::string> lines = LogCapture::Lines();
    std::erase_if(lines, [](const auto& line) { return line.find("=== Reg") != line.npos; });
    EXPECT_EQ(lines,
              (std::vector<std::string>{"5 CREudoraMail::Open - Flag =  0 Mode = 1\n",
                                        "5 CREudoraMail::Open - IndexID = 0x00000003\n",
                                        "5 CREudoraMail::Open - IndexID = 0x00ABCDEF\n",
                                        "5 CREudoraMail::Open - IndexID = 0x00000005\n",
                                        "5 CREudoraMail::Open - IndexID = 0x00000007\n",
                                        "5 CREudoraMail::Open - IndexID = 0x00000008\n",
                                        "5 CREudoraMail::Open - IndexID = 0x0000000A\n",
                                        "4 @@@@@@@@ wNumberOfMsgs = 8\n",
                                        "5 Enter CREudoraTransBase::Open - Input : Mode - 1\n",
                                        "5 Exit CREudoraTransBase::Open\n"}));
}

TEST_F(MailOpenTest, CounterAndDamagedTocFiles) {
    MailboxBuilder hundred;
    for (std::uint32_t i = 0; i < 99; ++i) hundred.Mail(1000 + i, MailText({}));
    const auto with = [&](std::uint32_t lastId) {
        MailboxBuilder box = hundred;
        return box.Mail(lastId, MailText({})).Toc();
    };
    const std::string three = MailboxBuilder(hundred).Toc(3);
    std::string macintosh = std::string("\0\1", 2) + std::string(276, '\x7F');
    std::string mostMails = mailstore::NewTocHeader();
    mostMails[102] = mostMails[103] = '\xFF';
    struct Row {
        const char* name;
        std::string toc;
        std::uint32_t counter;
        std::size_t mails;
        int emptyFlag = 0;
    };
    const Row rows[] = {
        {"last id below the count", with(40), 100, 100},
        {"last id above the count", with(500), 500, 100},
        {"highest id of all", with(0xFFFFFFFF), 0xFFFFFFFF, 100},
        {"no byte", "", 1, 0, 1},
        {"50 bytes", three.substr(0, 50), 1, 0, 1},
        {"half the count", three.substr(0, 103), 3, 0},
        {"the header alone", three.substr(0, 104), 3, 0},
        {"a block without its id", three.substr(0, 104 + 218 * 2 + 192), 3, 3},
        {"a block without its length", three.substr(0, 104 + 218 * 2 + 4), 3, 2},
        {"fewer blocks than mails", hundred.Toc(200), 200, 99},
        {"more blocks than mails", three, 1002, 3},
        {"65,535 mails that are not there", mostMails, 65535, 0},
        {"a Macintosh file", macintosh, 0x7F7F, 0},
    };
    for (const Row& row : rows) {
        machine.files.Put("C:\\E\\In.mbx", hundred.mbx + MailText({}));
        machine.files.Put("C:\\E\\In.toc", row.toc);
        OpenedMail mail;
        EXPECT_EQ(mail.OpenMailbox(util), RRC_OK) << row.name;
        EXPECT_EQ(mail.m_dwNextIndexID, row.counter) << row.name;
        EXPECT_EQ(mail.ToMessageId().size(), row.mails) << row.name;
        EXPECT_EQ(mail.m_bBoxFileOpenFlag, row.emptyFlag) << row.name;
        EXPECT_EQ(Toc(), row.toc) << row.name;
    }
}

TEST_F(MailOpenTest, ASecondOpenKeepsTheMaps) {
    OpenedMail mail;
    for (const auto& [mode, flag] : {std::pair{3, "0"}, {3, "1"}, {3, "0"}}) {
        EXPECT_EQ(mail.OpenMailbox(util, mode), RRC_OK);
        EXPECT_EQ(Flag(), flag) << "1 only right behind an Open that found nothing";
    }
    OpenedMail empty;
    EXPECT_EQ(empty.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(empty.OpenMailbox(util, 2), RRC_OK);
    EXPECT_EQ(Flag(), "0");

    MailboxBuilder().Mail(1, MailText({"Message-ID: <a>"})).Put(machine.files, "C:\\E");
    OpenedMail full, second;
    EXPECT_EQ(full.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(second.OpenMailbox(util), RRC_OK) << "side by side";
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.mbx"));
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.toc"));
    EXPECT_EQ(full.Close(0), RRC_OK);
    EXPECT_EQ(full.m_pMapi, nullptr);
    EXPECT_EQ(full.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(Mbx(), "(none)") << "not even looked at";
    EXPECT_EQ(full.ToIndexId().at("a"), "0x00000001");
    EXPECT_EQ(full.m_pMapi, &util.mapi);
}

TEST_F(MailOpenTest, FilesThatCannotBeOpened) {
    const auto deny = [&](const char* name) {
        return *machine.files.Open(std::string("C:\\E\\") + name, platform::OpenMode::kRead,
                                   platform::Share::kNone);
    };
    MailboxBuilder().Mail(1, MailText({})).Put(machine.files, "C:\\E");
    OpenedMail mail;
    for (const auto& [name, operation] :
         {std::pair{"In.mbx", "WriteNewMails"}, std::pair{"In.toc", "Open"}}) {
        const auto held = deny(name);
        LogCapture log;
        EXPECT_EQ(mail.OpenMailbox(util), RRC_FAILED);
        EXPECT_EQ(DrainErrors(), std::vector{std::string("no <C:\\E\\") + name + '>'});
        EXPECT_TRUE(LogCapture::Has(std::string("1 Unable to Open a file [C:\\E\\") + name +
                                    "] in CREudoraMail::" + operation + "()\n"));
        EXPECT_TRUE(LogCapture::Has(std::string("1 File Open Error Cause = 0 in CREudoraMail::") +
                                    operation + "()\n"));
        EXPECT_EQ(machine.files.OpenCount(), 1) << "only ours";
        EXPECT_EQ(mail.m_dwNextIndexID, 0U);
    }
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    // Without a name both paths are Eudora's folder, which does not open.
    LoadStrings({{1, "no <%s>"}, {79, ""}});
    OpenedMail nameless;
    EXPECT_EQ(nameless.OpenMailbox(util), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"no <C:\\E>"});
}

TEST_F(MailOpenTest, EveryFileOperationMayFail) {
    MailboxBuilder box;
    box.Mail(1, MailText({"Message-ID: <a>"})).Mail(2, MailText({})).Mail(3, "none");
    for (const bool isNew : {false, true}) {
        int failures = 0;
        for (int n = 1;; ++n) {
            SCOPED_TRACE(n);
            (void)machine.files.Delete("C:\\E\\In.mbx");
            (void)machine.files.Delete("C:\\E\\In.toc");
            if (!isNew) box.Put(machine.files, "C:\\E");
            OpenedMail mail;
            machine.faults.Arm(Fault::kTornWrite, n);
            const RRETURNCODE code = mail.OpenMailbox(util);
            const bool fired = machine.faults.Fired();
            machine.faults.Disarm();
            EXPECT_EQ(machine.files.OpenCount(), 0);
            EXPECT_EQ(DrainErrors().size(), code == RRC_OK ? 0U : 1U);
            EXPECT_TRUE(code == RRC_OK || code == RRC_FAILED);
            failures += code == RRC_FAILED ? 1 : 0;
            if (!isNew) {
                EXPECT_EQ(Mbx(), box.mbx);
                EXPECT_EQ(Toc(), box.Toc());
            }
            EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
            EXPECT_EQ(mail.ToMessageId().size(), isNew ? 0U : 2U);
            EXPECT_EQ(Toc(), isNew ? mailstore::NewTocHeader() : box.Toc());
            if (!fired) break;
        }
        EXPECT_GE(failures, 5) << isNew;
    }
}

TEST_F(MailOpenTest, CreateMailboxFilesStopsAtTheFirstThatFails) {
    OpenedMail mail;
    ASSERT_EQ(mail.OpenMailbox(util), RRC_OK);
    LogCapture log;
    EXPECT_EQ(mail.CreateMailboxFiles("C:\\none\\a.mbx", "C:\\E\\a.toc"), RRC_FAILED);
    EXPECT_TRUE(LogCapture::Has("1 Failed to Create Inbox file = C:\\none\\a.mbx\n"));
    EXPECT_FALSE(machine.files.Exists("C:\\E\\a.toc"));
    EXPECT_EQ(mail.CreateMailboxFiles("C:\\E\\a.mbx", "C:\\none\\a.toc"), RRC_FAILED);
    EXPECT_TRUE(LogCapture::Has("1 Failed to Create Toc file = C:\\none\\a.toc\n"));
    EXPECT_EQ(machine.files.Get("C:\\E\\a.mbx"), "");
    machine.files.LimitDisk(100);
    EXPECT_EQ(mail.CreateMailboxFiles("C:\\E\\a.mbx", "C:\\E\\a.toc"), RRC_FAILED);
    EXPECT_FALSE(machine.files.Exists("C:\\E\\a.toc")) << "no torn header stays";
    EXPECT_TRUE(DrainErrors().empty());
}

}  // namespace
