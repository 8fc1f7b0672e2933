#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "host/cli/sync_output.h"
#include "host/cli/sync_reports.h"
#include "host/mail/eudora_mails.h"
#include "host/mail/incoming_folder.h"
#include "host/mail/parse.h"
#include "host/mailsync/mail_sync.h"
#include "host/translator/in_box.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

base::Result<std::unique_ptr<mail::MailSource>> OpenSource(Workplace& place) {
    std::string selection;
    auto session = place.SelectInBox(selection);
    if (!session) return session.Error();
    if (auto pair = translator::CheckInBoxPair(place.Place()); !pair) return pair.Error();
    return mail::EudoraMails::Open(*std::move(session), selection,
                                   platform::NativeSystem().codePage);
}

// Reads files of the Maildir for Eudora; the folder for their attachments is made with the first.
class IncomingReader {
  public:
    explicit IncomingReader(const eudora::Setup& setup) : m_key(setup.memoryKey) {}

    base::Result<mail::NewMail> Read(std::string_view bytes, const std::string& name) {
        if (m_folder == nullptr) {
            auto folder = mail::IncomingFolder::Create(m_key);
            if (!folder) return folder.Error();
            m_folder = *std::move(folder);
        }
        const mail::ParsePlace place{platform::NativeFiles(), m_folder->Path(),
                                     platform::NativeSystem().codePage,
                                     platform::NativeSystem().clock};
        return mail::ParseMail(bytes, place, name);
    }

  private:
    std::string m_key;
    std::unique_ptr<mail::IncomingFolder> m_folder;
};

std::vector<std::string> NativePaths(const std::vector<std::string>& paths) {
    std::vector<std::string> natives;
    for (const std::string& path : paths) {
        if (auto native = platform::NativePathOf(path)) natives.push_back(*std::move(native));
    }
    return natives;
}

// In the order of a safe restore: a table of contents before its mailbox, which mostly grows at its
// end; the in-box before the Trash, so that a mail is in both rather than in none.
std::vector<std::string> Mailboxes(const eudora::Setup& setup) {
    std::vector<std::string> files;
    for (const char* box : {"In", "Trash", "Out"}) {
        for (const char* end : {".toc", ".mbx"}) {
            files.push_back(setup.eudoraFolder + '\\' + box + end);
        }
    }
    return NativePaths(files);
}

std::vector<std::string> NicknameFiles(const eudora::Setup& setup) {
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

base::Result<base::Report> ReportMail(Workplace& place, const Options& options,
                                      const sync::CommandPlace& command, bool isStatus) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    if (auto can = mail::CanParseMail(); !can) {
        if (!isStatus) return can.Error();
        base::Report report;
        report.lines.push_back("mails: " + can.Error().Message());
        report.json = "{}";
        return report;
    }
    if (!options.maildir) {
        return base::Refused(
            "no Maildir is named: give --maildir DIR, or maildir = \"DIR\" in the "
            "configuration file");
    }
    if (auto here = eudora::RefuseMailsElsewhere(place.Place()); !here) return here.Error();
    const auto inbox = platform::NativePathOf(place.Place().eudoraFolder + "\\In.mbx");
    if (!inbox)
        return base::Refused("no drive leads to the in-box in " + place.Place().eudoraShown);
    mailsync::MailSyncOptions sync;
    const bool writesNothing = options.setup.writesNothing;
    sync.open = [&place] { return OpenSource(place); };
    const auto reader = std::make_shared<IncomingReader>(place.Place());
    sync.parse = [reader](std::string_view bytes, const std::string& name) {
        return reader->Read(bytes, name);
    };
    mail::AttachFolder attachments(platform::NativeSystem().files, platform::NativeFiles(),
                                   place.Place().eudoraFolder + "\\Attach",
                                   platform::NativeSystem().codePage);
    sync.attachments = &attachments;
    sync.inbox = *inbox;
    sync.outbox = platform::NativePathOf(place.Place().eudoraFolder + "\\Out.toc").value_or("");
    sync.mailboxes = Mailboxes(place.Place());
    sync.eudoraFiles = sync.mailboxes;
    for (auto& file : NicknameFiles(place.Place())) sync.eudoraFiles.push_back(std::move(file));
    sync.maildir = eudora::WithoutLinks(*options.maildir);
    sync.dryRun = writesNothing;
    // The command line and the configuration file have been checked.
    if (options.prefer)
        sync.prefer = sync::ParsePrefer(*options.prefer).value_or(sync::Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = sync::ParseDeleteLimit(*options.maxDelete);
    if (!isStatus) {
        return SyncOutput(mailsync::RunMailSync(command, sync), Subject::kMails, options.quiet);
    }
    return StatusOutput(mailsync::RunMailStatus(command, sync),
                        {"in-box: " + sync.inbox, "Maildir: " + sync.maildir}, Subject::kMails,
                        options.quiet);
}

}  // namespace host::cli
