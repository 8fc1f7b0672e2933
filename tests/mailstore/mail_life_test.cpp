#include <functional>

#include "mailstore/eudora_access.h"
#include "tests/mailstore/mail_world.h"
#include "tests/support/fault_sweep.h"

namespace {

using mapi::Entry;
using platform::testing::Fault;

constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";

class MailStartTest : public MailTest {
  protected:
    MailStartTest() {
        Register(locate::kAppPathsKey, "path", "C:\\E");
        Register(locate::kAppPathsKey, "", "C:\\E\\Eudora.exe");
        Register(kMailto, "", "C:\\E\\Eudora.exe /M %1");
        machine.files.Put("C:\\E\\Eudora.exe", "MZ");
        (void)machine.files.RemoveFolder("C:\\E\\Attach");
        machine.windows.classes.insert("EudoraMainWindow");
    }
    void Register(const char* key, const char* value, const char* text) {
        ASSERT_TRUE(
            machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, key, value, text));
    }
    RRETURNCODE Start(TestMail& mail) {
        return mail.GetAppInfo(0, &host, selection, 0, summary, 0);
    }

    ScriptedLibrary library{machine, "C:\\E"};
    NumberedHost host{&util};
    CString selection, summary;
};

TEST_F(MailStartTest, Checks) {
    const auto otherClient = [&] { Register(kMailto, "", "C:\\E\\Eudora.exe /M %1 /x"); };
    const auto noProgram = [&] { ASSERT_TRUE(machine.files.Delete("C:\\E\\Eudora.exe")); };
    const struct {
        const char* name;
        std::function<void()> damage;
        Texts errors;
        bool isOk = false;
    } rows[] = {
        {"all well", [] {}, {}, true},
        {"another client", otherClient, {}, true},
        {"no session", [&] { library.results[Entry::kLogon] = {3}; }, {"m74"}},
        {"half a library", [&] { library.Install("C:\\E", "MAPIResolveName"); }, {"m73"}},
        {"another client and half a library", otherClient, {"m72", "m73"}},
        {"no program", noProgram, {"m71"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Register(kMailto, "", "C:\\E\\Eudora.exe /M %1");
        row.damage();
        TestMail mail;
        EXPECT_EQ(Start(mail), row.isOk ? RRC_OK : RRC_FAILED);
        EXPECT_EQ(DrainErrors(), row.errors);
        machine.windows.classes.clear();
        LogOff();
    }
}

TEST_F(MailStartTest, EudoraIsStartedAndGivenTime) {
    auto& processes = machine.processes;
    machine.windows.classes.clear();
    std::chrono::milliseconds waited{0};
    processes.onWait = [&](std::chrono::milliseconds timeout) {
        waited = timeout;
        return false;
    };
    TestMail mails[2];
    EXPECT_EQ(Start(mails[0]), RRC_OK);
    EXPECT_EQ(processes.started, Texts{"C:\\E\\Eudora.exe"});
    EXPECT_EQ(waited.count(), 5000);
    EXPECT_EQ(machine.clock.now - std::chrono::system_clock::from_time_t(0),
              std::chrono::milliseconds(4500));
    LogOff();
    processes.refuseStart = true;
    EXPECT_EQ(Start(mails[1]), RRC_OK);
    EXPECT_EQ(machine.clock.sleeps, 1) << "nothing to wait for";
}

TEST_F(MailStartTest, AttachFolder) {
    for (const char* path : {"C:\\E", "C:\\E\\"}) {
        Register(locate::kAppPathsKey, "path", path);
        library.Install(path);
        TestMail mail;
        EXPECT_EQ(Start(mail), RRC_OK) << path;
        EXPECT_EQ(mail.m_attach.m_csAttachDir, "C:\\E\\Attach\\");
        EXPECT_TRUE(machine.files.Exists("C:\\E\\Attach"));
        LogOff();
    }
    (void)machine.files.RemoveFolder("C:\\E\\Attach");
    machine.files.Put("C:\\E\\Attach", "no folder");
    TestMail mail;
    EXPECT_EQ(Start(mail), RRC_OK);
    MapiMessage record{};
    EXPECT_EQ(mail.m_attach.NewAttachments(util, "1\t0\ta\ta\tC:\\\\E\\\\Eudora.exe\n", record),
              RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"no <C:\\E\\Attach\\>"});
    EXPECT_EQ(machine.files.Get("C:\\E\\Attach"), "no folder");
}

TEST_F(MailStartTest, OnceForAnObjectAndOneSessionForAll) {
    TestMail mail, second;
    EXPECT_EQ(Start(mail), RRC_OK);
    const auto tries = machine.libraries.Tries().size();
    EXPECT_EQ(Start(mail), RRC_OK);
    EXPECT_EQ(machine.libraries.Tries().size(), tries) << "checked once";
    EXPECT_EQ(Start(second), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m74"});
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK) << "the first one's session lives on";
    tagRAPPINFO info{0, "C:\\SET\\eudoraappinfo0001.CFG"};
    mail.m_appInfo.m_nMailAgeDays = 21;
    TestMail other;
    EXPECT_EQ(other.SaveSettings(0, &info, 0), RRC_FAILED) << "no selection yet";
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_OK);
    CEudoraAppInfo onDisk;
    EXPECT_TRUE(util.LoadSettings(selection, onDisk) && onDisk.m_nMailAgeDays == 21);
}

class MailOpenTest : public MailTest {};

TEST_F(MailOpenTest, TiesTheTwoNamesOfAMail) {
    MailboxBuilder()
        .Mail(3, MailText({"Message-ID: <one@x>"}))
        .Mail(0xABCDEF, MailText({"Message-Id: <two@x>"}))
        .Mail(5, MailText({"Subject: none"}))
        .Mail(6, "From ???@???\r\nno recipient\r\n")
        .Mail(8, MailText({"Message-ID: <one@x>"}))
        .Mail(5, MailText({"Message-ID: <second of 5>"}))
        .Mail(6, MailText({"Message-ID: <second of 6>"}))
        .Block(9, 1U << 31, 100)
        .Block(10, 0, 0xFFFFFFFF)
        .Put(machine.files, "C:\\E");
    TestMail mail, second;
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(mail.ToMessageId(), (TestMail::IdTexts{{"0x00000003", "one@x"},
                                                     {"0x00ABCDEF", "two@x"},
                                                     {"0x00000005", "0x00000005"},
                                                     {"0x00000008", "one@x"},
                                                     {"0x0000000A", "one@x"}}));
    EXPECT_EQ(second.OpenMailbox(util), RRC_OK) << "side by side";
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.mbx"));
    EXPECT_EQ(mail.Close(0), RRC_OK);
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
    EXPECT_EQ(Mbx(), "(none)") << "not even looked at";
}

TEST_F(MailOpenTest, CounterAndDamagedTocFiles) {
    MailboxBuilder hundred;
    for (std::uint32_t i = 0; i < 99; ++i) hundred.Mail(1000 + i, MailText({}));
    const auto with = [&](std::uint32_t lastId) {
        return MailboxBuilder(hundred).Mail(lastId, MailText({})).Toc();
    };
    const std::string three = hundred.Toc(3);
    const struct {
        const char* name;
        std::string toc;
        std::uint32_t counter;
        std::size_t mails;
    } rows[] = {
        {"last id above the count", with(500), 500, 100},
        {"no byte", "", 1, 0},
        {"the header alone", three.substr(0, 104), 3, 0},
        {"a block without its id", three.substr(0, 104 + 218 * 2 + 192), 3, 3},
        {"more mails than are there", hundred.Toc(65535), 65535, 99},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        machine.files.Put("C:\\E\\In.mbx", hundred.mbx + MailText({}));
        machine.files.Put("C:\\E\\In.toc", row.toc);
        TestMail mail;
        EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
        EXPECT_EQ(mail.m_ids.m_dwNextIndexID, row.counter);
        EXPECT_EQ(mail.ToMessageId().size(), row.mails);
        EXPECT_EQ(mail.m_bBoxFileOpenFlag, row.counter == 1 ? 1 : 0);
        EXPECT_EQ(Toc(), row.toc);
    }
}

TEST_F(MailOpenTest, AnEmptyMailboxLeavesAFlag) {
    TestMail mail;
    for (const auto& [mode, flag] : {std::pair{3, 0U}, {3, 1U}, {3, 0U}}) {
        EXPECT_EQ(mail.OpenMailbox(util, mode), RRC_OK);
        const auto number =
            machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                        "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld", "RecCntFlag");
        EXPECT_EQ(*number, flag) << "1 only right behind an Open that found nothing";
    }
}

TEST_F(MailOpenTest, EveryFileOperationMayFail) {
    MailboxBuilder box;
    box.Mail(1, MailText({"Message-ID: <a>"})).Mail(2, MailText({})).Mail(3, "none");
    for (const bool isNew : {false, true}) {
        int failures = 0;
        const auto play = [&](Fault fault, int n) {
            for (const char* path : {"C:\\E\\In.mbx", "C:\\E\\In.toc"}) {
                (void)machine.files.Delete(path);
            }
            if (!isNew) box.Put(machine.files, "C:\\E");
            TestMail mail;
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
    ASSERT_TRUE(machine.files.Delete("C:\\E\\In.toc"));
    machine.files.LimitDisk(machine.files.Get("C:\\E\\In.mbx")->size() + 50);
    EXPECT_EQ(TestMail().OpenMailbox(util), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m19", "no <C:\\E\\In.toc>"}));
}

class MailCloseTest : public ReadingTest {};

TEST_F(MailCloseTest, SendsUntilTheFirstFailure) {
    const std::string left = *machine.files.TempFolder() + "Qzv1.tmp";
    const Texts all{"send a", "send b", "send c"};
    const std::pair<std::uint32_t, const char*> codes[] = {{}, {1, "m16"}, {24, "m39"}, {7, "m40"}};
    for (const std::size_t failAt : {0U, 1U, 2U, 3U}) {
        SCOPED_TRACE(failAt);
        ASSERT_EQ(mail.OpenMailbox(util), RRC_OK);
        for (const char* subject : {"a", "b", "c"}) mail.Add({.subject = subject, .status = 2});
        machine.files.Put(left, "x");
        library.calls.clear();
        if (failAt > 0) {
            library.results[Entry::kSendMail].assign(failAt - 1, 0);
            library.results[Entry::kSendMail].push_back(codes[failAt].first);
        }
        EXPECT_EQ(mail.Close(0), failAt > 0 ? RRC_FAILED : RRC_OK);
        EXPECT_EQ(library.calls, Texts(all.begin(), failAt > 0 ? all.begin() + failAt : all.end()));
        EXPECT_EQ(DrainErrors(), failAt > 0 ? Texts{codes[failAt].second} : Texts{});
        EXPECT_TRUE(mail.m_queues.m_lstOutBoxMails.empty());
        EXPECT_FALSE(machine.files.Exists(left)) << "whatever happened before";
    }
}

TEST_F(MailCloseTest, DeletesItsOwnTemporaryFilesAlone) {
    const std::string temp = *machine.files.TempFolder(), readOnly = temp + "QZVFFFF.TMP",
                      inUse = temp + "Qzv long name.tmp";
    const Texts gone{temp + "Qzv1.tmp", temp + "qzv.tmp", readOnly};
    const Texts kept{inUse, temp + "sub\\Qzv1.tmp", temp + "Qzv.folder.tmp\\x", temp + "Qz1.tmp",
                     temp + "Qzv1.tmp.txt"};
    for (const Texts& paths : {gone, kept}) {
        for (const auto& path : paths) machine.files.Put(path, "x");
    }
    machine.files.SetReadOnly(readOnly);
    const auto held = *machine.files.Open(inUse, platform::OpenMode::kRead, platform::Share::kNone);
    mailstore::DeleteAttachFile(machine.system);
    for (const auto& path : gone) EXPECT_FALSE(machine.files.Exists(path)) << path;
    for (const auto& path : kept) EXPECT_TRUE(machine.files.Exists(path)) << path;
}

}  // namespace
