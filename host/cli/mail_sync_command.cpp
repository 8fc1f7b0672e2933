#include "host/cli/sync_reports.h"
#include "host/mail/compose.h"
#include "host/mail/incoming_folder.h"
#include "host/mail/parse.h"
#include "host/mailsync/eudora_mail_source.h"
#include "host/mailsync/mail_sync.h"
#include "host/module/in_box.h"
#include "host/module/native_path.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

platform::Result<std::unique_ptr<MailSource>> OpenSource(Workplace& place) {
    std::string selection;
    auto session = place.SelectInBox(selection);
    if (!session) return session.Error();
    if (auto pair = CheckInBoxPair(place.Place()); !pair) return pair.Error();
    return EudoraMailSource::Open(*std::move(session), selection,
                                  platform::NativeSystem().processes.CodePage());
}

// Reads files of the Maildir for Eudora; the folder for their attachments is made with the first.
class IncomingReader {
  public:
    explicit IncomingReader(const Setup& setup) : m_key(setup.memoryKey) {}

    platform::Result<NewMail> Read(std::string_view bytes, const std::string& name) {
        if (m_folder == nullptr) {
            auto folder = IncomingFolder::Create(m_key);
            if (!folder) return folder.Error();
            m_folder = *std::move(folder);
        }
        const ParsePlace place{platform::NativeFiles(), m_folder->Path(),
                               platform::NativeSystem().processes.CodePage(),
                               platform::NativeSystem().clock};
        return ParseMail(bytes, place, name);
    }

  private:
    std::string m_key;
    std::unique_ptr<IncomingFolder> m_folder;
};

std::vector<std::string> NativePaths(const std::vector<std::string>& paths) {
    std::vector<std::string> natives;
    for (const std::string& path : paths) {
        if (auto native = ToNativePath(path)) natives.push_back(*std::move(native));
    }
    return natives;
}

// In the order of a safe restore: a table of contents before its mailbox, which mostly grows at its
// end; the in-box before the Trash, so that a mail is in both rather than in none.
std::vector<std::string> Mailboxes(const Setup& setup) {
    std::vector<std::string> files;
    for (const char* box : {"In", "Trash", "Out"}) {
        for (const char* end : {".toc", ".mbx"}) {
            files.push_back(setup.eudoraFolder + '\\' + box + end);
        }
    }
    return NativePaths(files);
}

std::vector<std::string> NicknameFiles(const Setup& setup) {
    std::vector<std::string> files{setup.eudoraFolder + "\\nndbase.txt",
                                   setup.eudoraFolder + "\\nndbase.toc"};
    const std::string folder = setup.eudoraFolder + "\\NickName";
    const auto entries = platform::NativeSystem().files.List(folder, "*");
    for (const auto& entry : entries ? *entries : std::vector<platform::FolderEntry>()) {
        if (!entry.isFolder) files.push_back(folder + '\\' + entry.name);
    }
    return NativePaths(files);
}

}  // namespace

platform::Result<Report> ReportMail(Workplace& place, const Options& options,
                                    const CommandPlace& command, bool isStatus) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    if (auto can = CanComposeMail(); !can) {
        if (!isStatus) return can.Error();
        Report report;
        report.lines.push_back("mails: " + can.Error().Message());
        report.json = "{}";
        return report;
    }
    if (!options.maildir) {
        return Refused(
            "no Maildir is named: give --maildir DIR, or maildir = \"DIR\" in the "
            "configuration file");
    }
    if (auto here = RefuseMailsElsewhere(place.Place()); !here) return here.Error();
    const auto inbox = ToNativePath(place.Place().eudoraFolder + "\\In.mbx");
    if (!inbox) return Refused("no drive leads to the in-box in " + place.Place().eudoraShown);
    MailSyncOptions sync;
    const bool writesNothing = options.setup.writesNothing;
    sync.open = [&place] { return OpenSource(place); };
    const auto reader = std::make_shared<IncomingReader>(place.Place());
    sync.parse = [reader](std::string_view bytes, const std::string& name) {
        return reader->Read(bytes, name);
    };
    AttachFolder attachments(platform::NativeSystem().files, platform::NativeFiles(),
                             place.Place().eudoraFolder + "\\Attach",
                             platform::NativeSystem().processes.CodePage());
    sync.attachments = &attachments;
    sync.inbox = *inbox;
    sync.outbox = ToNativePath(place.Place().eudoraFolder + "\\Out.toc").value_or("");
    sync.mailboxes = Mailboxes(place.Place());
    sync.eudoraFiles = sync.mailboxes;
    for (auto& file : NicknameFiles(place.Place())) sync.eudoraFiles.push_back(std::move(file));
    sync.maildir = Canonical(*options.maildir);
    sync.dryRun = writesNothing;
    sync.quiet = options.quiet;
    // The command line and the configuration file have been checked.
    if (options.prefer) sync.prefer = ParsePrefer(*options.prefer).value_or(Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = ParseDeleteLimit(*options.maxDelete);
    return isStatus ? RunMailStatus(command, sync) : RunMailSync(command, sync);
}

}  // namespace host
