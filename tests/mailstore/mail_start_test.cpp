#include <functional>

#include "tests/frame/log_capture.h"
#include "tests/mailstore/mail_fixture.h"

namespace {

constexpr auto kMachine = platform::RegistryRoot::kLocalMachine;
constexpr const char* kAppPaths =
    "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";
constexpr const char* kMessaging = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";

std::uint32_t g_logonResult = 0;

std::uint32_t KV_MAPI_CALL Logon(std::uintptr_t, const char*, const char*, std::uint32_t,
                                 std::uint32_t, mapi::Session* session) {
    *session = 42;
    return g_logonResult;
}
std::uint32_t KV_MAPI_CALL Logoff(mapi::Session, std::uintptr_t, std::uint32_t, std::uint32_t) {
    return 0;
}

// A host that has one number for every question.
class Host final : public CRHostContext {
  public:
    explicit Host(CEudoraTransUtil* util) : m_util(util) {}
    void GetContextValue1(RWORD* value) override { *value = 1; }
    void GetContextValue2(RWORD* value) override { *value = 2; }
    void GetContextValue3(RWORD* value) override { *value = 3; }
    void GetContextValue4(RWORD* value) override { *value = 4; }
    void GetUtil(RWORD* value) override { *value = reinterpret_cast<RWORD>(m_util); }
    void GetContextValue5(RWORD* value) override { *value = 5; }
    void GetContextValue6(RWORD* value) override { *value = 6; }
    void GetContextValue7(RWORD* value) override { *value = 7; }

  private:
    CEudoraTransUtil* m_util;
};

class MailStartTest : public MailFixture {
  protected:
    MailStartTest() {
        g_logonResult = 0;
        Register(kAppPaths, "path", "C:\\E");
        Register(kAppPaths, "", "C:\\E\\Eudora.exe");
        Register(kMailto, "", "C:\\E\\Eudora.exe /M %1");
        Register(kMessaging, "MAPI", "1");
        machine.files.Put("C:\\E\\Eudora.exe", "MZ");
        machine.processes.windows.insert("EudoraMainWindow");
        AddLibrary(nullptr);
    }
    void Register(const char* key, const char* value, const char* text) {
        ASSERT_TRUE(machine.registry.WriteText(kMachine, key, value, text));
    }
    void AddLibrary(const char* missing, const std::string& folder = "C:\\E") {
        std::map<std::string, void*> symbols;
        for (const char* name : mapi::kEntryNames) symbols[name] = &g_logonResult;
        symbols["MAPILogon"] = reinterpret_cast<void*>(&Logon);
        symbols["MAPILogoff"] = reinterpret_cast<void*>(&Logoff);
        if (missing != nullptr) symbols.erase(missing);
        machine.libraries.AddLibrary(folder + "\\EUMAPI32.DLL", symbols);
    }
    RRETURNCODE Start(OpenedMail& mail, BOOL configure = 0) {
        return mail.GetAppInfo(configure, &host, selection, 0, summary, 0);
    }

    Host host{&util};
    CString selection, summary;
};

TEST_F(MailStartTest, Checks) {
    struct Row {
        const char* name;
        std::function<void()> damage;
        RRETURNCODE code;
        std::vector<std::string> errors;
        const char* line;  // logged
    };
    using Texts = std::vector<std::string>;
    const auto otherClient = [&] { Register(kMailto, "", "C:\\E\\Eudora.exe /M %1 /x"); };
    const Row rows[] = {
        {"all well", [] {}, RRC_OK, {}, "5 Attachment Folder path = C:\\E\\Attach\\\n"},
        {"another client",
         otherClient,
         RRC_OK,
         {},
         "1 Eudora Pro is not your default email client\n"},
        {"cannot start",
         [&] {
             machine.processes.windows.clear();
             machine.processes.refuseStart = true;
         },
         RRC_OK,
         {},
         "1 Create Process failed in CREudoraMail::RunEudoraPro\n"},
        {"no session", [&] { g_logonResult = 3; }, RRC_FAILED, Texts{"m74"},
         "1 MAPI logon Process failed CREudoraMail::GetAppInfo\n"},
        {"no MAPI", [&] { Register(kMessaging, "MAPI", "0"); }, RRC_FAILED, Texts{"m73"},
         "1 Fail to load MAPI libaray CREudoraMail::GetAppInfo\n"},
        {"half a library",
         [&] {
             Register(kMessaging, "MAPI", "1");
             AddLibrary("MAPIResolveName");
         },
         RRC_FAILED, Texts{"m73"}, "1 Fail to load MAPI libaray CREudoraMail::GetAppInfo\n"},
        {"another client and half a library", otherClient, RRC_FAILED, Texts{"m72", "m73"},
         "5 EUDORA_SUCCESS"},
        {"no program", [&] { ASSERT_TRUE(machine.files.Delete("C:\\E\\Eudora.exe")); }, RRC_FAILED,
         Texts{"m71"}, "1 Eudora Pro doesn't exist in your machine\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Register(kMailto, "", "C:\\E\\Eudora.exe /M %1");
        row.damage();
        OpenedMail mail;
        LogCapture log;
        EXPECT_EQ(Start(mail), row.code);
        EXPECT_EQ(DrainErrors(), row.errors);
        EXPECT_TRUE(LogCapture::Has(row.line));
        EXPECT_EQ(mail.m_bAppReady, row.code == RRC_OK);
        if (row.code == RRC_OK) {
            EXPECT_EQ(mail.m_csAttachDir, "C:\\E\\Attach\\");
            EXPECT_TRUE(machine.files.Exists("C:\\E\\Attach"));
        }
        util.mapi.MapiLogoff();
        util.mapi.UnloadMapiLibrary();
    }
}

TEST_F(MailStartTest, AttachFolder) {
    for (const auto& [path, folder, exists] : {std::tuple{"C:\\E", "C:\\E\\Attach", true},
                                               {"C:\\E\\", "C:\\E\\Attach", true},
                                               {"C:\\none", "C:\\none\\Attach", false}}) {
        Register(kAppPaths, "path", path);
        AddLibrary(nullptr, path);
        OpenedMail mail;
        LogCapture log;
        EXPECT_EQ(Start(mail), RRC_OK) << path;
        EXPECT_EQ(mail.m_csAttachDir, std::string(folder) + '\\');
        EXPECT_EQ(machine.files.Exists(folder), exists) << path;
        EXPECT_EQ(LogCapture::Has("1 Unable to Create Directory in CREudoraMail::GetAppInfo\n"),
                  !exists);
        util.mapi.MapiLogoff();
    }
}

TEST_F(MailStartTest, OnceForAnObjectAndOneSessionForAll) {
    OpenedMail mail, second;
    EXPECT_EQ(Start(mail), RRC_OK);
    const auto tries = machine.libraries.Tries().size();
    EXPECT_EQ(Start(mail), RRC_OK);
    EXPECT_EQ(machine.libraries.Tries().size(), tries) << "checked once";
    EXPECT_EQ(selection, "C:\\set\\EudoraAppInfo0001.cfg");
    EXPECT_EQ(Start(second), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"m74"});
    EXPECT_EQ(mail.OpenMailbox(util), RRC_OK) << "the first one's session lives on";
    EXPECT_EQ(mail.Close(0), RRC_OK);
}

TEST_F(MailStartTest, OptionsAreTakenFromAnAcceptedDialog) {
    OpenedMail mail;
    ASSERT_EQ(Start(mail), RRC_OK);
    const auto values = [&] {
        const auto& info = mail.m_appInfo;
        return std::vector<int>{info.m_bAttachments,   info.m_bLimitAttachSize,
                                info.m_nAttachLimitKB, info.m_bLimitMailSize,
                                info.m_bLimitMailAge,  info.m_nMailAgeDays,
                                info.m_nMailLimitKB};
    };
    // Whatever can be ticked and typed is changed; every number is another one.
    const auto change = [](platform::testing::ScriptedView& view, int button) {
        int number = 20;
        for (int round = 0; round < 2; ++round) {
            for (auto& [id, control] : view.controls) {
                if (control.kind == platform::ControlKind::kCheckBox && !control.checked) {
                    view.Click(id);
                }
            }
        }
        for (auto& [id, control] : view.controls) {
            if (control.kind == platform::ControlKind::kEdit) {
                control.text = std::to_string(++number);
            }
        }
        view.Click(button);
    };
    const auto before = values();
    machine.dialogs.modalScripts.push_back([&](auto& view) { change(view, 2); });
    EXPECT_EQ(Start(mail, 1), RRC_CANCELLED);
    EXPECT_EQ(values(), before);
    machine.dialogs.modalScripts.push_back([&](auto& view) { change(view, 1); });
    EXPECT_EQ(Start(mail, 1), RRC_OK);
    EXPECT_EQ(values(), (std::vector<int>{1, 1, 23, 1, 1, 21, 22}));

    // They reach the file by SaveSettings alone.
    tagRAPPINFO info{0, "C:\\SET\\eudoraappinfo0001.CFG"};
    OpenedMail stored;
    CEudoraAppInfo onDisk;
    ASSERT_EQ(util.LoadSettings(selection, onDisk), 1);
    EXPECT_EQ(onDisk.m_nMailAgeDays, before[5]);
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_OK);
    ASSERT_EQ(util.LoadSettings(selection, onDisk), 1);
    EXPECT_EQ(onDisk.m_nMailAgeDays, 21);
    info.pszSelection = "C:\\set\\other.cfg";
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_FAILED);
    EXPECT_TRUE(DrainErrors().empty());
    EXPECT_EQ(stored.SaveSettings(0, &info, 0), RRC_FAILED) << "no selection yet";
    info.pszSelection = selection;
    machine.files.SetReadOnly(selection.Str());
    EXPECT_EQ(mail.SaveSettings(0, &info, 0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"m66"});
}

}  // namespace
