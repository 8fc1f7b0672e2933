#include "host/cli/mail_sync_run.h"

#include "host/cli/sync_output.h"
#include "host/mail/attach_folder.h"
#include "host/mail/eudora_mails.h"
#include "host/mail/parse.h"
#include "host/mailsync/mail_sync.h"
#include "host/translator/in_box.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

base::Result<std::unique_ptr<mail::MailSource>> OpenSource(Workplace& workplace) {
    std::string selection;
    auto session = workplace.SelectInBox(selection);
    if (!session) return session.Error();
    if (auto pair = translator::CheckInBoxPair(workplace.Setup()); !pair) return pair.Error();
    return mail::EudoraMails::Open(*std::move(session), selection);
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
        const mail::ParsePlace place{platform::NativeSystem().files, m_folder->Path(),
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

base::Result<Output> RunMail(Workplace& workplace, const Options& options,
                             const sync::CommandPlace& command, bool isStatus) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    if (auto can = mail::CanParseMail(); !can) {
        if (!isStatus) return can.Error();
        return Output{
            base::ExitCode::kNothingToDo, {"mails: " + can.Error().Message()}, {}, nullptr};
    }
    const eudora::Setup& setup = workplace.Setup();
    if (auto here = eudora::RefuseMailsElsewhere(setup); !here) return here.Error();
    const auto inbox = platform::NativePathOf(setup.eudoraFolder + "\\In.mbx");
    if (!inbox) return base::Refused("no drive leads to the in-box in " + setup.eudoraShown);
    mailsync::MailSyncOptions sync;
    sync.open = [&workplace] { return OpenSource(workplace); };
    sync.parse = [reader = std::make_shared<IncomingReader>(setup)](std::string_view bytes,
                                                                    const std::string& name) {
        return reader->Read(bytes, name);
    };
    const auto& system = platform::NativeSystem();
    mail::AttachFolder attachments(system.files, setup.eudoraFolder + "\\Attach", system.codePage);
    sync.attachments = &attachments;
    sync.inbox = *inbox;
    sync.outbox = platform::NativePathOf(setup.eudoraFolder + "\\Out.toc").value_or("");
    sync.mailboxes = Mailboxes(setup);
    sync.eudoraFiles = sync.mailboxes;
    for (auto& file : NicknameFiles(setup)) sync.eudoraFiles.push_back(std::move(file));
    sync.maildir = eudora::WithoutLinks(*options.maildir);
    SetRules(options, sync);
    if (!isStatus) {
        const auto report = mailsync::RunMailSync(command, sync);
        if (!report) return RefusalOutput(report.Error());
        return SyncOutput(*report, Subject::kMails, options.quiet);
    }
    return StatusOutput(mailsync::RunMailStatus(command, sync),
                        {"in-box: " + sync.inbox, "Maildir: " + sync.maildir}, Subject::kMails,
                        options.quiet);
}

}  // namespace host::cli
