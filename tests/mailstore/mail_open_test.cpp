#include "tests/mailstore/mail_fixture.h"
#include "tests/support/fault_sweep.h"

using platform::testing::Fault;

namespace {

class MailOpenTest : public MailFixture {
  protected:
    // The flag in the registry for the next program, "none" without one.
    std::string Flag() {
        const auto number =
            machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                        "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld", "RecCntFlag");
        return number ? std::to_string(*number) : "none";
    }
};

TEST_F(MailOpenTest, MakesWhatIsMissing) {
    for (const std::string& mbx : {std::string(), MailText({})}) {
        if (!mbx.empty()) machine.files.Put("C:\\E\\In.mbx", mbx);
        (void)machine.files.Delete("C:\\E\\In.toc");
        OpenedMail mail;
        machine.files.LimitDisk(mbx.size() + 50);
        EXPECT_EQ(mail.OpenMailbox(util), RRC_FAILED);
        EXPECT_EQ(DrainErrors(), (Texts{"m19", "no <C:\\E\\In.toc>"}));
        machine.files.LimitDisk(std::nullopt);
        EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
        EXPECT_EQ(Mbx(), mbx);
        EXPECT_EQ(Toc(), mailbox::NewTocHeader());
        EXPECT_TRUE(mail.ToMessageId().empty());
        EXPECT_EQ(mail.m_bBoxFileOpenFlag, 1);
        EXPECT_EQ(mail.m_ids.m_dwNextIndexID, 1U) << "the first new mail becomes number 2";
        EXPECT_EQ(machine.files.OpenCount(), 0);
    }
}

TEST_F(MailOpenTest, TiesTheTwoNamesOfAMail) {
    MailboxBuilder()
        .Mail(3, MailText({"Message-ID: <one@x>"}))
        .Mail(0xABCDEF, MailText({"Message-Id: <two@x>"}))
        .Mail(5, MailText({"Subject: none"}))
        .Mail(6, "From ???@???\r\nno recipient\r\n")
        .Mail(7, MailText({"Reply-To: r", "Message-ID: <behind@x>"}))
        .Mail(8, MailText({"Message-ID: <one@x>"}))
        .Mail(5, MailText({"Message-ID: <second of 5>"}))
        .Mail(6, MailText({"Message-ID: <second of 6>"}))
        .Block(9, 1U << 31, 100)
        .Block(10, 0, 0xFFFFFFFF)
        .Put(machine.files, "C:\\E");
    OpenedMail mail;
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(mail.ToMessageId(), (OpenedMail::IdTexts{{"0x00000003", "one@x"},
                                                       {"0x00ABCDEF", "two@x"},
                                                       {"0x00000005", "0x00000005"},
                                                       {"0x00000007", "0x00000007"},
                                                       {"0x00000008", "one@x"},
                                                       {"0x0000000A", "one@x"}}));
}

TEST_F(MailOpenTest, CounterAndDamagedTocFiles) {
    MailboxBuilder hundred;
    for (std::uint32_t i = 0; i < 99; ++i) hundred.Mail(1000 + i, MailText({}));
    const auto with = [&](std::uint32_t lastId) {
        return MailboxBuilder(hundred).Mail(lastId, MailText({})).Toc();
    };
    const std::string three = hundred.Toc(3);
    std::string mostMails = mailbox::NewTocHeader();
    mostMails[102] = mostMails[103] = '\xFF';
    struct Row {
        const char* name;
        std::string toc;
        std::uint32_t counter;
        std::size_t mails;
    };
    const Row rows[] = {
        {"last id below the count", with(40), 100, 100},
        {"last id above the count", with(500), 500, 100},
        {"no byte", "", 1, 0},
        {"half the count", three.substr(0, 103), 3, 0},
        {"the header alone", three.substr(0, 104), 3, 0},
        {"a block without its id", three.substr(0, 104 + 218 * 2 + 192), 3, 3},
        {"a block without its length", three.substr(0, 104 + 218 * 2 + 4), 3, 2},
        {"fewer blocks than mails", hundred.Toc(200), 200, 99},
        {"more blocks than mails", three, 1002, 3},
        {"65,535 mails that are not there", mostMails, 65535, 0},
        {"a Macintosh file", std::string("\0\1", 2) + std::string(276, '\x7F'), 0x7F7F, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        machine.files.Put("C:\\E\\In.mbx", hundred.mbx + MailText({}));
        machine.files.Put("C:\\E\\In.toc", row.toc);
        OpenedMail mail;
        EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
        EXPECT_EQ(mail.m_ids.m_dwNextIndexID, row.counter);
        EXPECT_EQ(mail.ToMessageId().size(), row.mails);
        EXPECT_EQ(mail.m_bBoxFileOpenFlag, row.counter == 1 ? 1 : 0);
        EXPECT_EQ(Toc(), row.toc);
    }
}

TEST_F(MailOpenTest, ASecondOpenKeepsTheMaps) {
    OpenedMail mail;
    for (const auto& [mode, flag] : {std::pair{3, "0"}, {3, "1"}, {3, "0"}}) {
        EXPECT_EQ(mail.OpenMailbox(util, mode), RRC_OK);
        EXPECT_EQ(Flag(), flag) << "1 only right behind an Open that found nothing";
    }
    OpenedMail empty;
    for (const int mode : {1, 2}) EXPECT_EQ(empty.OpenMailbox(util, mode), RRC_OK);
    EXPECT_EQ(Flag(), "0");

    MailboxBuilder().Mail(1, MailText({"Message-ID: <a>"})).Put(machine.files, "C:\\E");
    OpenedMail full, second;
    EXPECT_EQ(full.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(second.OpenMailbox(util), RRC_OK) << "side by side";
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.mbx"));
    EXPECT_EQ(full.Close(0), RRC_OK);
    EXPECT_EQ(full.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(Mbx(), "(none)") << "not even looked at";
    EXPECT_EQ(full.ToMessageId().at("0x00000001"), "a");
}

TEST_F(MailOpenTest, EveryFileOperationMayFail) {
    MailboxBuilder box;
    box.Mail(1, MailText({"Message-ID: <a>"})).Mail(2, MailText({})).Mail(3, "none");
    for (const bool isNew : {false, true}) {
        int failures = 0;
        const auto play = [&](Fault fault, int n) {
            (void)machine.files.Delete("C:\\E\\In.mbx");
            (void)machine.files.Delete("C:\\E\\In.toc");
            if (!isNew) box.Put(machine.files, "C:\\E");
            OpenedMail mail;
            machine.faults.Arm(fault, n);
            const bool isOpen = mail.OpenMailbox(util) == RRC_OK;
            const bool fired = machine.faults.Disarm();
            failures += !isOpen;
            EXPECT_EQ(machine.files.OpenCount(), 0);
            EXPECT_EQ(DrainErrors().size(), isOpen ? 0U : 1U);
            EXPECT_TRUE(isNew || Mbx() + Toc() == box.mbx + box.Toc());
            EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
            EXPECT_EQ(mail.ToMessageId().size(), isNew ? 0U : 2U);
            EXPECT_EQ(Toc(), isNew ? mailbox::NewTocHeader() : box.Toc());
            return fired;
        };
        test::ForEveryFault(play, 1, {Fault::kTornWrite});
        EXPECT_GE(failures, 5) << isNew;
    }
}

}  // namespace
