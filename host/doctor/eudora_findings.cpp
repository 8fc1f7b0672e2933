#include "host/doctor/eudora_findings.h"

#include "host/module/in_box.h"
#include "host/module/native_path.h"
#include "host/module/translator_host.h"
#include "host/module/translator_session.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

Finding FolderFinding(const Setup& setup) {
    const auto info = platform::NativeSystem().files.Stat(setup.eudoraFolder);
    if (!info || !info->isFolder) {
        return {Health::kFault, "Eudora's folder", setup.eudoraShown + " does not exist",
                "name another with --eudora DIR"};
    }
    if (info->isReadOnly && !UsesWindowsPaths()) {
        return {Health::kFault, "Eudora's folder", setup.eudoraShown + " cannot be written",
                "give yourself write permission there (chmod u+w); reading works"};
    }
    return {Health::kGood, "Eudora's folder", setup.eudoraShown, {}};
}

Finding LockFinding(const Setup& setup) {
    const auto stopped = RefuseRunningEudora(setup);
    if (stopped) return {Health::kGood, "locks", "Eudora does not run", {}};
    return {Health::kFault, "locks", "Eudora has its folder open (OWNER.LOK)",
            "close Eudora; if it has crashed, delete OWNER.LOK"};
}

// The mail translator asks the registry whether Simple MAPI is there before it loads the library.
Finding MapiFinding(const Setup& setup) {
    constexpr const char* kKey = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
    const auto mark = platform::NativeSystem().registry.ReadText(
        platform::RegistryRoot::kLocalMachine, kKey, "MAPI");
    if (mark && *mark == "1") return {Health::kGood, "mail", "Simple MAPI is registered", {}};
    return {Health::kNote, "mail", "Simple MAPI is not registered for " + setup.eudoraShown,
            "mails cannot be reached: set MAPI to the text 1 in HKEY_LOCAL_MACHINE\\" +
                std::string(kKey) + " with regedit; contacts need no MAPI"};
}

using Module = platform::Result<std::unique_ptr<TranslatorHost>>;

Finding StartFinding(const Setup& setup, const Module& host) {
    if (!host) return {Health::kFault, "translator", host.Error().Message(), {}};
    return {Health::kGood, "translator", "starts in language " + setup.init.language, {}};
}

constexpr const char* kUnreadable =
    "copy the file to another disk, or put back a backup (kvsync backups)";

// The in-box, read as a run reads it; but on Windows that would start Eudora.
Finding InBoxFinding(const Setup& setup, Module& host) {
    if (auto ready = CheckInBox(setup); !ready) {
        return {Health::kNote, "in-box", ready.Error().Message(), {}};
    }
    if (host && !UsesWindowsPaths()) {
        std::string selection;
        auto session = SelectInBox(**host, setup, true, selection);
        const auto opened = session ? session->Open() : platform::Status(session.Error());
        if (!opened) return {Health::kBroken, "in-box", opened.Error().Message(), kUnreadable};
    }
    return {Health::kGood, "in-box", "In.mbx and In.toc", {}};
}

// The file that a run works on, read to its end.
Finding InUseFinding(const std::string& path, Module& host) {
    const std::string what = "nickname file in use";
    if (auto checked = CheckNicknameFile(path, true); !checked) {
        return {Health::kFault, what, checked.Error().Message(), {}};
    }
    if (host) {
        if (auto opened = TranslatorSession::OpenContacts(**host, path); !opened) {
            return {Health::kBroken, what, opened.Error().Message(), kUnreadable};
        }
    }
    return {Health::kGood, what, ToUtf8(path), {}};
}

// Each nickname file, and whether it can be used. The one that a run works on is marked.
void NicknameFindings(const SetupOptions& options, const Setup& setup, Module& host,
                      std::vector<Finding>& findings) {
    std::vector<std::string> paths{setup.eudoraFolder + "\\nndbase.txt"};
    const std::string folder = setup.eudoraFolder + "\\NickName";
    if (auto entries = platform::NativeSystem().files.List(folder, "*.txt")) {
        for (const auto& entry : *entries) {
            if (!entry.isFolder) paths.push_back(folder + "\\" + entry.name);
        }
    }
    const auto chosen = ChooseNicknameFile(options, setup);
    if (!chosen) {
        findings.push_back({Health::kFault, "nickname file", chosen.Error().Message(), {}});
    }
    bool any = false;
    for (const std::string& path : paths) {
        if (!platform::NativeSystem().files.Exists(path)) continue;
        any = true;
        if (chosen && *chosen == path) {
            findings.push_back(InUseFinding(path, host));
            continue;
        }
        const auto checked = CheckNicknameFile(path, true);
        findings.push_back({checked ? Health::kGood : Health::kNote,
                            "nickname file",
                            checked ? ToUtf8(path) : checked.Error().Message(),
                            {}});
    }
    if (!any) {
        findings.push_back({Health::kFault, "nickname file", "none in " + setup.eudoraShown,
                            "start Eudora once, or check that this is its folder"});
    }
}

}  // namespace

std::vector<Finding> ExamineEudora(const SetupOptions& options, const Setup& setup) {
    std::vector<Finding> findings;
    findings.push_back(FolderFinding(setup));
    findings.push_back({Health::kGood,
                        "code page",
                        std::to_string(platform::NativeSystem().processes.CodePage()),
                        {}});
    findings.push_back(LockFinding(setup));
    auto host = TranslatorHost::Start(setup.init);
    findings.push_back(StartFinding(setup, host));
    findings.push_back(MapiFinding(setup));
    findings.push_back(InBoxFinding(setup, host));
    NicknameFindings(options, setup, host, findings);
    return findings;
}

}  // namespace host
