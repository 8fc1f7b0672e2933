#include "host/doctor/doctor.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "host/base/contact.h"
#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/doctor/folders.h"
#include "host/doctor/mailbox_look.h"
#include "host/doctor/text_check.h"
#include "host/eudora/nickname_file.h"
#include "host/eudora/outside_names.h"
#include "host/translator/in_box.h"
#include "host/translator/translator_host.h"
#include "host/translator/translator_session.h"
#include "mailbox/toc_file.h"
#include "platform/os/system.h"

namespace host::doctor {

namespace fs = std::filesystem;

namespace {

// The folder, or the nearest one above it that exists.
fs::path ExistingPart(const std::string& folder) {
    std::error_code ignored;
    fs::path existing = base::ToPath(folder);
    while (!existing.empty() && !fs::exists(existing, ignored) && existing.has_relative_path()) {
        existing = existing.parent_path();
    }
    return existing;
}

// The nearest folder that exists must be one to write into.
Finding StateFinding() {
    const auto folder = eudora::StateFolder();
    if (!folder) return FaultOf("kvsync's own folder", folder.Error());
    const fs::path existing = ExistingPart(*folder);
    const std::string shown = base::FromPath(existing);
    const auto info = platform::NativeFiles().Stat(shown);
    if (info && info->isFolder && !platform::NativeFiles().IsReadOnly(shown)) {
        return {Health::kGood, "kvsync's own folder", *folder, {}};
    }
    return {Health::kFault, "kvsync's own folder", shown + " cannot be written",
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
    auto entries = platform::NativeFiles().List(folder, "kvlEUD*.dll").ValueOr({});
    std::ranges::sort(entries, {}, &platform::FolderEntry::name);
    for (const auto& entry : entries) {
        found += (found.empty() ? "" : ", ") + entry.name;
        hasLanguage = hasLanguage || entry.name == "kvlEUD" + language + ".dll";
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

constexpr const char* kMapi = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
constexpr const char* kMendMailbox =
    "bring back both files (kvsync backups), or let Eudora rebuild the table from the text";
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
        m_isFree = Tell(LockFinding());
        TellLinks();
        if (canStart) Start();
        Tell(MapiFinding());
        TellInBox();
        if (m_isFree) {
            TellMailbox(mailbox::kOutBox, "out-box");
            TellMailbox(mailbox::kTrash, "Trash");
        }
        TellNicknameFiles();
        Tell(CodePageFinding());
        TellSpace();
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
        if (m_system.files.IsReadOnly(m_setup.eudoraFolder) && !base::UsesWindowsPaths()) {
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
        // On Windows that would start Eudora, and it makes a folder Attach that is missing.
        const bool hasAttach = m_system.files.Exists(m_setup.eudoraFolder + "\\Attach");
        if (!m_module || !m_hasMapi || !hasAttach || base::UsesWindowsPaths()) return {};
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
            TellMailbox(mailbox::kInBox, "in-box");
            return;
        }
        Finding finding = FaultOf("in-box", read.Error());
        if (finding.health == Health::kBroken) finding.advice = kUnreadable;
        // A folder with contacts alone is one that can be worked on.
        if (!translator::HasInBox(m_setup)) finding.health = Health::kNote;
        Tell(std::move(finding));
    }

    // Examines the two files of a mailbox. One that has neither is made when it is needed.
    void TellMailbox(const mailbox::MailboxKind& kind, const char* what) {
        const std::string name(kind.name);
        const std::string stem = m_setup.eudoraFolder + '\\' + name;
        const bool hasText = m_system.files.Exists(stem + ".mbx");
        if (hasText != m_system.files.Exists(stem + ".toc")) {
            const std::string missing = name + (hasText ? ".toc" : ".mbx");
            Tell({Health::kFault, what, missing + " is missing", kMendMailbox});
        } else if (hasText) {
            Tell(MailboxFinding(stem, name, what));
        }
    }

    Finding MailboxFinding(const std::string& stem, const std::string& name, const char* what) {
        using platform::OpenMode;
        using platform::Share;
        const auto mbx = m_system.files.Open(stem + ".mbx", OpenMode::kRead, Share::kReadWrite);
        if (!mbx) return FaultOf(what, mbx.Error());
        const auto toc = m_system.files.Open(stem + ".toc", OpenMode::kRead, Share::kReadWrite);
        if (!toc) return FaultOf(what, toc.Error());
        const auto header = mailbox::ReadTocHeader(**toc);
        if (header && header->IsMacintosh()) {
            return {Health::kFault, what, name + ".toc was written by Eudora for Macintosh",
                    "let Eudora for Windows import that mailbox first"};
        }
        const auto state = mailbox::ExamineMailbox(
            **mbx, **toc, [this](std::string_view text, bool isCut) { m_mails.Add(text, isCut); });
        if (!state)
            return {Health::kBroken, what, base::Failure(state.Error()).Cause(), kUnreadable};
        std::string told = name + ".mbx and " + name + ".toc, " +
                           base::Counted(state->inHeader, "mail") + " by the table's header, " +
                           base::Counted(state->blocks, "block") + ", " +
                           base::Counted(state->separators, "separator line") + " in the text";
        if (state->AgreesInAll()) return {Health::kGood, what, std::move(told), {}};
        const auto faults = FaultsOf(*state);
        for (const std::string& fault : faults) told += "; " + fault;
        if (!faults.empty()) return {Health::kFault, what, std::move(told), kMendMailbox};
        if (state->separators == state->inHeader) {
            return {
                Health::kNote, what, told + "; the next run writes over the blocks too many", {}};
        }
        return {Health::kNote, what,
                told + "; lines that no block names are removed mails, or text that looks like one",
                "nothing has to be done; Special > Compact Mailboxes in Eudora removes such mails"};
    }

    // Each nickname file is read to its end.
    Finding BookFinding(const std::string& path, bool isInUse) {
        const char* const what = isInUse ? "nickname file in use" : "nickname file";
        if (const auto checked = eudora::CheckNicknameFile(m_setup, path, m_canWrite); !checked) {
            Finding finding = FaultOf(what, checked.Error());
            if (!isInUse) finding.health = Health::kNote;
            return finding;
        }
        const std::string shown = base::ToUtf8(path);
        if (!m_module) return {Health::kNote, what, shown + ", not read: see the translator", {}};
        const auto count = CountContacts(path);
        if (count)
            return {Health::kGood, what, shown + ", " + base::Counted(*count, "contact"), {}};
        return {isInUse ? Health::kBroken : Health::kNote, what, count.Error().Cause(),
                kUnreadable};
    }

    // The number of contacts; their texts are looked at.
    base::Result<std::size_t> CountContacts(const std::string& path) {
        auto session = translator::TranslatorSession::OpenContacts(*m_module, path);
        if (!session) return session.Error();
        std::size_t count = 0;
        for (auto found = session->MoveFirst();; found = session->MoveNext(), ++count) {
            if (!found) return found.Error();
            if (!*found) return count;
            for (std::size_t field = 1; field <= base::kFieldCount; ++field) {
                auto text = session->Text(std::to_string(field));
                if (!text) return text.Error();
                std::string bytes = text->value_or("");
                std::erase_if(bytes, [](char byte) { return byte == '\x03'; });
                m_contacts.Add(bytes);
            }
        }
    }

    // Examines all nickname files in Eudora's folder.
    void TellNicknameFiles() {
        const auto chosen = eudora::ChooseNicknameFile(m_options, m_setup);
        if (!chosen) Tell(FaultOf("nickname file", chosen.Error()));
        m_books = eudora::AllNicknameFiles(m_setup);
        for (const std::string& path : m_books) Tell(BookFinding(path, chosen && *chosen == path));
        if (!m_books.empty() || !chosen) return;
        Tell({Health::kFault, "nickname file", "none in " + m_setup.eudoraShown,
              "start Eudora once, or check that this is its folder"});
    }

    Finding CodePageFinding() const {
        std::string told = std::to_string(m_system.codePage);
        if (m_contacts.Texts() + m_mails.Texts() == 0) {
            return {Health::kNote, "code page", told + ", and no text to hold it against", {}};
        }
        told += ", " + m_contacts.Share() + " texts of contacts and " + m_mails.Share() +
                " senders and subjects of mails are none of it";
        if (m_contacts.Strange() + m_mails.Strange() == 0) {
            return {Health::kGood, "code page", std::move(told), {}};
        }
        return {Health::kNote, "code page", std::move(told),
                "if most are in another one, name it: --code-page 932 for Japanese"};
    }

    // A backup needs room for all files that it may copy, a save for one that it writes anew.
    void TellSpace() {
        std::uint64_t all = 0, largest = 0;
        for (const auto* kind : {&mailbox::kInBox, &mailbox::kOutBox, &mailbox::kTrash}) {
            const std::string stem = m_setup.eudoraFolder + '\\' + std::string(kind->name);
            for (const char* end : {".mbx", ".toc"}) all += SizeOf(stem + end);
        }
        for (const std::string& book : m_books) {
            all += SizeOf(book);
            largest = std::max(largest, SizeOf(book));
        }
        const auto state = eudora::StateFolder();
        if (state) {
            Tell(SpaceFinding("space for backups", base::FromPath(ExistingPart(*state)), all));
        }
        if (const auto native = platform::NativePathOf(m_setup.eudoraFolder)) {
            Tell(SpaceFinding("space in Eudora's folder", *native, largest));
        }
    }

    std::uint64_t SizeOf(const std::string& path) const {
        const auto info = m_system.files.Stat(path);
        return info ? info->copySize : 0;
    }

    // `folder` is a native path.
    static Finding SpaceFinding(const char* what, const std::string& folder, std::uint64_t needed) {
        const auto free = platform::NativeFiles().FreeSpace(folder);
        if (!free) return {Health::kNote, what, "the system does not tell it", {}};
        std::string told = Sized(*free) + " free, a run needs " + Sized(needed);
        if (*free >= needed) return {Health::kGood, what, std::move(told), {}};
        return {Health::kFault, what, std::move(told), "make room on that disk"};
    }

    const eudora::SetupOptions& m_options;
    const eudora::Setup& m_setup;
    const platform::System& m_system = platform::NativeSystem();
    std::unique_ptr<translator::TranslatorHost> m_module;
    bool m_canWrite = false, m_isFree = false, m_hasMapi = false;
    std::vector<std::string> m_books;  // Windows paths
    TextCheck m_contacts{m_system.codePage}, m_mails{m_system.codePage};
    std::vector<Finding> m_findings;
};

}  // namespace

Finding FaultOf(std::string what, const base::Failure& failure) {
    const bool isRefusal = failure.exit == base::ExitCode::kRefused;
    return {isRefusal ? Health::kFault : Health::kBroken, std::move(what), failure.Cause(),
            failure.advice};
}

std::vector<Finding> Examine(const eudora::SetupOptions& options, const Places& places) {
    std::vector<Finding> findings{StateFinding()};
    const bool hasFolder = findings.back().health == Health::kGood;
    eudora::SetupOptions reading = options;
    // Without a folder of its own kvsync still examines the rest, as a dry run does.
    reading.writesNothing = !hasFolder;
    if (hasFolder || places.state) {
        const fs::path state = places.state ? base::ToPath(*places.state).parent_path()
                                            : base::ToPath(*eudora::StateFolder());
        findings.push_back(BackupsFinding(base::FromPath(state / "backups")));
    }
    std::string libraryFolder;
    findings.push_back(LibraryFinding(libraryFolder));
    bool canStart = findings.back().health == Health::kGood;
    if (!libraryFolder.empty()) {
        findings.push_back(BundleFinding(libraryFolder, options.language.value_or("EN")));
        canStart = canStart && findings.back().health != Health::kFault;
    }
    findings.push_back(ContactsFinding(places.contacts));
    findings.push_back(MaildirFinding(places.maildir, options.eudora));
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
