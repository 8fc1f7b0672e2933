#include "host/doctor/doctor.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "host/base/paths.h"
#include "host/eudora/nickname_file.h"
#include "host/eudora/outside_names.h"
#include "host/translator/in_box.h"
#include "host/translator/translator_host.h"
#include "host/translator/translator_session.h"
#include "platform/os/system.h"

namespace host::doctor {

namespace fs = std::filesystem;

namespace {

// The nearest folder that exists must be one to write into.
Finding StateFinding() {
    const auto folder = eudora::StateFolder();
    if (!folder) return FaultOf("kvsync's own folder", folder.Error());
    std::error_code ignored;
    fs::path existing = base::ToPath(*folder);
    while (!existing.empty() && !fs::exists(existing, ignored) && existing.has_relative_path()) {
        existing = existing.parent_path();
    }
    const auto info = platform::NativeFiles().Stat(base::FromPath(existing));
    if (info && info->isFolder && !info->isReadOnly) {
        return {Health::kGood, "kvsync's own folder", *folder, {}};
    }
    return {Health::kFault, "kvsync's own folder", base::FromPath(existing) + " cannot be written",
            base::kMakeWritable};
}

// `folder` becomes that of the library, in which its bundles lie.
Finding LibraryFinding(std::string& folder) {
    auto path = translator::TranslatorHost::FindLibrary();
    if (!path) return FaultOf("translator library", path.Error());
    folder = base::FromPath(base::ToPath(*path).parent_path());
    if (auto loaded = translator::TranslatorHost::Load(*path, {}); !loaded) {
        return FaultOf("translator library", loaded.Error());
    }
    return {Health::kGood, "translator library", *path, {}};
}

// A language without bundle is a note: the module takes another one.
Finding BundleFinding(const std::string& folder, const std::string& language) {
    std::string found;
    bool hasLanguage = false;
    if (auto entries = platform::NativeFiles().List(folder, "kvlEUD*.dll")) {
        for (const auto& entry : *entries) {
            found += (found.empty() ? "" : ", ") + entry.name;
            hasLanguage = hasLanguage || entry.name == "kvlEUD" + language + ".dll";
        }
    }
    if (found.empty()) {
        return {Health::kFault, "language bundles", "none in " + folder,
                "install kvsync completely"};
    }
    if (!hasLanguage) {
        return {Health::kNote, "language bundles", found + ", none for " + language,
                "choose another with --language"};
    }
    return {Health::kGood, "language bundles", found, {}};
}

// A missing folder is only a note: the first sync makes it.
Finding ContactsFinding(const std::optional<std::string>& folder) {
    if (!folder) {
        return {Health::kNote, "folder of vCards", "none is named",
                "name it with --contacts DIR or in the configuration file"};
    }
    const auto info = platform::NativeFiles().Stat(*folder);
    if (!info) {
        return {Health::kNote, "folder of vCards", *folder + " does not exist yet",
                "check the path; the first sync makes it"};
    }
    if (!info->isFolder) {
        return {Health::kFault, "folder of vCards", *folder + " is no folder", "name a folder"};
    }
    if (info->isReadOnly) {
        return {Health::kFault, "folder of vCards", *folder + " cannot be written",
                "give yourself write permission there"};
    }
    return {Health::kGood, "folder of vCards", *folder, {}};
}

constexpr const char* kMapi = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
constexpr const char* kUnreadable =
    "copy the file to another disk, or put back a backup (kvsync backups)";

// One Eudora, looked at from its folder to its files. What one fault brings about is not told as
// another.
class Examination {
  public:
    Examination(const eudora::SetupOptions& options, const eudora::Setup& setup)
        : m_options(options), m_setup(setup) {}

    std::vector<Finding> Run(bool canStart) {
        m_canWrite = Tell(FolderFinding());
        Tell({Health::kGood, "code page", std::to_string(m_system.codePage), {}});
        m_isFree = Tell(LockFinding());
        TellLinks();
        if (canStart) Start();
        Tell(MapiFinding());
        TellInBox();
        TellNicknameFiles();
        return std::move(m_findings);
    }

  private:
    // False if it is bad.
    bool Tell(Finding finding) {
        m_findings.push_back(std::move(finding));
        return m_findings.back().health < Health::kFault;
    }
    Finding FolderFinding() const {
        const auto info = m_system.files.Stat(m_setup.eudoraFolder);
        if (!info || !info->isFolder) {
            return {Health::kFault, "Eudora's folder", m_setup.eudoraShown + " does not exist",
                    "name another with --eudora DIR"};
        }
        if (info->isReadOnly && !base::UsesWindowsPaths()) {
            return {Health::kFault, "Eudora's folder",
                    m_setup.eudoraShown + " cannot be written, only read",
                    "give yourself write permission there (chmod u+w)"};
        }
        return {Health::kGood, "Eudora's folder", m_setup.eudoraShown, {}};
    }

    Finding LockFinding() const {
        const auto stopped = eudora::RefuseRunningEudora(m_setup);
        if (!stopped) return FaultOf("locks", stopped.Error());
        return {Health::kGood, "locks", "Eudora does not run", {}};
    }

    void TellLinks() {
        for (const eudora::OutsideName& name : eudora::NamesLeadingOutside(m_options)) {
            const auto failure = eudora::LeadsOutside(name);
            Tell({m_options.followLinks ? Health::kNote : Health::kFault, "link", failure.Cause(),
                  m_options.followLinks ? "" : failure.advice});
        }
    }

    void Start() {
        auto module = translator::TranslatorHost::Start(m_setup.init);
        if (module) {
            m_module = *std::move(module);
            Tell({Health::kGood, "translator", "starts", {}});
            return;
        }
        Tell({Health::kFault, "translator", module.Error().Cause(),
              "check in regedit that Path and the default value of " +
                  eudora::ShownKey(eudora::kAppPaths) + " name Eudora's folder and its program"});
    }

    // The mail translator asks the registry whether Simple MAPI is there before it loads the
    // library.
    Finding MapiFinding() {
        const auto mark =
            m_system.registry.ReadText(platform::RegistryRoot::kLocalMachine, kMapi, "MAPI");
        m_hasMapi = mark && *mark == "1";
        if (m_hasMapi) return {Health::kGood, "mail", "Simple MAPI is registered", {}};
        return {Health::kNote, "mail",
                "Simple MAPI is not registered for " + m_setup.eudoraShown +
                    ", so that its mails cannot be reached; contacts need no MAPI",
                "set MAPI to the text 1 in " + eudora::ShownKey(kMapi) + " with regedit"};
    }

    // Reads the in-box as a run does.
    base::Status ReadInBox() {
        if (auto ready = translator::CheckInBox(m_setup); !ready) return ready;
        if (auto pair = translator::CheckInBoxPair(m_setup); !pair) return pair;
        // On Windows that would start Eudora.
        if (!m_module || !m_hasMapi || base::UsesWindowsPaths()) return {};
        std::string selection;
        auto session = translator::SelectInBox(*m_module, m_setup, true, selection);
        return session ? session->Open() : base::Status(session.Error());
    }

    // Examines the in-box, unless Eudora runs and has it open.
    void TellInBox() {
        if (!m_isFree) return;
        if (const auto here = eudora::RefuseMailsElsewhere(m_setup); !here) {
            Tell({Health::kNote, "in-box", here.Error().Cause(), here.Error().advice});
            return;
        }
        const auto read = ReadInBox();
        if (read) {
            Tell({Health::kGood, "in-box", "In.mbx and In.toc", {}});
            return;
        }
        Finding finding = FaultOf("in-box", read.Error());
        if (finding.health == Health::kBroken) finding.advice = kUnreadable;
        // A folder with contacts alone is one that can be worked on.
        const std::string inBox = m_setup.eudoraFolder + "\\In.";
        const bool isThere =
            m_system.files.Exists(inBox + "mbx") || m_system.files.Exists(inBox + "toc");
        if (!isThere) finding.health = Health::kNote;
        Tell(std::move(finding));
    }

    // The file that a run works on is read to its end.
    Finding BookFinding(const std::string& path, bool isInUse) {
        const char* const what = isInUse ? "nickname file in use" : "nickname file";
        if (const auto checked = eudora::CheckNicknameFile(m_setup, path, m_canWrite); !checked) {
            Finding finding = FaultOf(what, checked.Error());
            if (!isInUse) finding.health = Health::kNote;
            return finding;
        }
        if (isInUse && m_module) {
            const auto opened = translator::TranslatorSession::OpenContacts(*m_module, path);
            if (!opened) return {Health::kBroken, what, opened.Error().Cause(), kUnreadable};
        }
        return {Health::kGood, what, base::ToUtf8(path), {}};
    }

    // Examines all nickname files in Eudora's folder, the one in use to its end.
    void TellNicknameFiles() {
        const auto chosen = eudora::ChooseNicknameFile(m_options, m_setup);
        if (!chosen) Tell(FaultOf("nickname file", chosen.Error()));
        const auto paths = eudora::AllNicknameFiles(m_setup);
        for (const std::string& path : paths) Tell(BookFinding(path, chosen && *chosen == path));
        if (!paths.empty() || !chosen) return;
        Tell({Health::kFault, "nickname file", "none in " + m_setup.eudoraShown,
              "start Eudora once, or check that this is its folder"});
    }

    const eudora::SetupOptions& m_options;
    const eudora::Setup& m_setup;
    const platform::System& m_system = platform::NativeSystem();
    std::unique_ptr<translator::TranslatorHost> m_module;
    bool m_canWrite = false, m_isFree = false, m_hasMapi = false;
    std::vector<Finding> m_findings;
};

}  // namespace

Finding FaultOf(std::string what, const base::Failure& failure) {
    const bool isRefusal = failure.exit == base::ExitCode::kRefused;
    return {isRefusal ? Health::kFault : Health::kBroken, std::move(what), failure.Cause(),
            failure.advice};
}

std::vector<Finding> Examine(const eudora::SetupOptions& options,
                             const std::optional<std::string>& contactsFolder) {
    std::vector<Finding> findings{StateFinding()};
    eudora::SetupOptions reading = options;
    // Without a folder of its own kvsync still examines the rest, as a dry run does.
    reading.writesNothing = findings.back().health != Health::kGood;
    std::string libraryFolder;
    findings.push_back(LibraryFinding(libraryFolder));
    bool canStart = findings.back().health == Health::kGood;
    if (!libraryFolder.empty()) {
        findings.push_back(BundleFinding(libraryFolder, options.language.value_or("EN")));
        canStart = canStart && findings.back().health != Health::kFault;
    }
    findings.push_back(ContactsFinding(contactsFolder));
    auto setup = eudora::Prepare(reading);
    if (!setup) {
        Finding fault = FaultOf("Eudora", setup.Error());
        if (fault.state != findings.front().state) findings.push_back(std::move(fault));
        return findings;
    }
    std::ranges::move(Examination(reading, *setup).Run(canStart), std::back_inserter(findings));
    return findings;
}

}  // namespace host::doctor
