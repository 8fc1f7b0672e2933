#include <functional>

#include "integration/locate/locate.h"
#include "tests/frame/numbered_host.h"
#include "tests/mailstore/mail_fixture.h"
#include "tests/mapi/scripted_library.h"

namespace {

constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";

class MailStartTest : public MailFixture {
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
    RRETURNCODE Start(OpenedMail& mail, BOOL configure = 0) {
        return mail.GetAppInfo(configure, &host, selection, 0, summary, 0);
    }

    ScriptedLibrary library{machine, "C:\\E"};
    NumberedHost host{&util};
    CString selection, summary;
};

TEST_F(MailStartTest, Checks) {
    struct Row {
        const char* name;
        std::function<void()> damage;
        Texts errors;
        bool isOk = false;
    };
    const auto otherClient = [&] { Register(kMailto, "", "C:\\E\\Eudora.exe /M %1 /x"); };
    const auto noProgram = [&] { ASSERT_TRUE(machine.files.Delete("C:\\E\\Eudora.exe")); };
    const Row rows[] = {
        {"all well", [] {}, {}, true},
        {"another client", otherClient, {}, true},
        {"cannot start", [&] { machine.processes.refuseStart = true; }, {}, true},
        {"no session", [&] { library.results[mapi::Entry::kLogon] = {3}; }, {"m74"}},
        {"half a library", [&] { library.Install("C:\\E", "MAPIResolveName"); }, {"m73"}},
        {"another client and half a library", otherClient, {"m72", "m73"}},
        {"no program", noProgram, {"m71"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Register(kMailto, "", "C:\\E\\Eudora.exe /M %1");
        row.damage();
        OpenedMail mail;
        EXPECT_EQ(Start(mail), row.isOk ? RRC_OK : RRC_FAILED);
        EXPECT_EQ(DrainErrors(), row.errors);
        EXPECT_EQ(mail.m_bAppReady, row.isOk);
        machine.windows.classes.clear();
        TearDown();
    }
}

TEST_F(MailStartTest, EudoraIsStartedOnceAndGivenTime) {
    auto& processes = machine.processes;
    machine.windows.classes.clear();
    std::chrono::milliseconds waited{0};
    processes.onWait = [&](std::chrono::milliseconds timeout) {
        waited = timeout;
        return false;
    };
    OpenedMail mails[2];
    EXPECT_EQ(Start(mails[0]), RRC_OK);
    EXPECT_EQ(processes.started, Texts{"C:\\E\\Eudora.exe"});
    EXPECT_EQ(waited.count(), 5000);
    EXPECT_EQ(machine.clock.now - std::chrono::system_clock::from_time_t(0),
              std::chrono::milliseconds(4500));
    TearDown();
    processes.refuseStart = true;
    EXPECT_EQ(Start(mails[1]), RRC_OK);
    EXPECT_EQ(machine.clock.sleeps, 1) << "nothing to wait for";
}

TEST_F(MailStartTest, AttachFolder) {
    for (const auto& [path, folder] : {std::pair{"C:\\E", "C:\\E\\Attach\\"},
                                       {"C:\\E\\", "C:\\E\\Attach\\"},
                                       {"C:\\none", "C:\\none\\Attach\\"}}) {
        Register(locate::kAppPathsKey, "path", path);
        library.Install(path);
        OpenedMail mail;
        EXPECT_EQ(Start(mail), RRC_OK) << path;
        EXPECT_EQ(mail.m_attach.m_csAttachDir, folder);
        EXPECT_TRUE(machine.files.Exists("C:\\E\\Attach"));
        util.mapi.MapiLogoff();
    }
    Register(locate::kAppPathsKey, "path", "C:\\E");
    (void)machine.files.RemoveFolder("C:\\E\\Attach");
    machine.files.Put("C:\\E\\Attach", "no folder");
    OpenedMail mail;
    const LogCapture log;
    EXPECT_EQ(Start(mail), RRC_OK);
    EXPECT_TRUE(log.Has("1 Unable to Create Directory in CREudoraMail::GetAppInfo\n"));
    ASSERT_NE(CMapi::AllocMessage(mail.m_draft.m_lpNewMessage), 0);
    EXPECT_EQ(mail.m_attach.NewAttachments(util, "1\t0\ta\ta\tC:\\\\E\\\\Eudora.exe\n",
                                           *mail.m_draft.m_lpNewMessage),
              RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"no <C:\\E\\Attach\\>"});
    EXPECT_EQ(machine.files.Get("C:\\E\\Attach"), "no folder");
}

TEST_F(MailStartTest, OnceForAnObjectAndOneSessionForAll) {
    OpenedMail mail, second;
    EXPECT_EQ(Start(mail), RRC_OK);
    const auto tries = machine.libraries.Tries().size();
    EXPECT_EQ(Start(mail), RRC_OK);
    EXPECT_EQ(machine.libraries.Tries().size(), tries) << "checked once";
    EXPECT_EQ(selection, "C:\\set\\EudoraAppInfo0001.cfg");
    EXPECT_EQ(Start(second), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m74"});
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK) << "the first one's session lives on";
}

TEST_F(MailStartTest, OptionsAreTakenFromAnAcceptedDialog) {
    OpenedMail mail;
    ASSERT_EQ(Start(mail), RRC_OK);
    const auto days = [&] { return mail.m_appInfo.m_nMailAgeDays; };
    const int before = days();
    const auto answer = [&](int button) {
        machine.dialogs.modalScripts.push_back([button](auto& view) {
            for (auto& [id, control] : view.controls) {
                if (control.kind == platform::ControlKind::kCheckBox && !control.checked) {
                    view.Click(id);
                }
                if (control.kind == platform::ControlKind::kEdit) control.text = "21";
            }
            view.Click(button);
        });
        return Start(mail, 1);
    };
    EXPECT_EQ(answer(2), RRC_CANCELLED);
    EXPECT_EQ(days(), before);
    EXPECT_EQ(answer(1), RRC_OK);
    EXPECT_EQ(days(), 21);

    // They reach the file by SaveSettings alone, and only the file that was given.
    tagRAPPINFO info{0, "C:\\SET\\eudoraappinfo0001.CFG"};
    const auto storedDays = [&] {
        CEudoraAppInfo onDisk;
        EXPECT_TRUE(util.LoadSettings(selection, onDisk));
        return onDisk.m_nMailAgeDays;
    };
    OpenedMail other;
    EXPECT_EQ(other.SaveSettings(0, &info, 0), RRC_FAILED) << "no selection yet";
    EXPECT_EQ(storedDays(), before);
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_OK);
    EXPECT_EQ(storedDays(), 21);
    info.pszSelection = "C:\\set\\other.cfg";
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_FAILED);
    EXPECT_TRUE(DrainErrors().empty());
}

}  // namespace
