#include "host/cli/sync_commands.h"

#include "host/base/paths.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/outside_names.h"
#include "host/mail/attach_folder.h"
#include "host/mail/eudora_mails.h"
#include "host/mail/parse.h"
#include "host/mailsync/mail_sync.h"
#include "host/state/state_file.h"
#include "host/translator/in_box.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

// The subjects of a run: the one that the command names, else all that have a folder.
struct Subjects {
    bool contacts, mail;

    explicit Subjects(const Options& options) {
        const std::string& what = options.what;
        contacts = what.empty() ? options.contacts || !options.maildir : what == "contacts";
        mail = what.empty() ? options.maildir.has_value() : what == "mail";
        if (contacts && !options.contacts) {
            throw Ended(base::Refused("no contacts folder is named",
                                      "give --contacts DIR, or contacts = \"DIR\" in the "
                                      "configuration file"));
        }
        if (mail && !options.maildir) {
            throw Ended(base::Refused(
                "no Maildir is named",
                "give --maildir DIR, or maildir = \"DIR\" in the configuration file"));
        }
    }
};

// A sync of contacts, or what it would do. What keeps it from beginning ends the command.
Output RunContacts(Workplace& workplace, const Options& options, const sync::CommandPlace& command,
                   bool isStatus) {
    contactsync::SyncOptions sync;
    sync.eudora = workplace.Contacts(!isStatus);
    sync.contactsFolder = *options.contacts;
    SetRules(options, sync);
    if (!isStatus) {
        const auto report = contactsync::RunSync(command, sync);
        return report ? SyncOutput(*report, Subject::kContacts, options.quiet)
                      : RefusalOutput(report.Error());
    }
    const auto lock = state::StateLock::Take(command.files, command.stateFile, false);
    std::vector<std::string> head = {
        "address book: " + sync.eudora.file + " (" + sync.eudora.file + ")",
        "contacts folder: " + sync.contactsFolder, "state: " + command.stateFile,
        "locked: " + (lock ? "no" : lock.Error().Message())};
    return StatusOutput(contactsync::RunStatus(command, sync), std::move(head), Subject::kContacts,
                        options.quiet);
}

// Eudora's mails, once it is sure that the in-box and its table belong together.
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

// Native paths in the order of a safe restore: a table of contents before its mailbox, which mostly
// grows at its end; the in-box before the Trash, so that a mail is in both rather than in none.
std::vector<std::string> Mailboxes(const eudora::Setup& setup) {
    std::vector<std::string> files;
    for (const char* box : {"In", "Trash", "Out"}) {
        for (const char* end : {".toc", ".mbx"}) {
            files.push_back(setup.eudoraFolder + '\\' + box + end);
        }
    }
    return NativePaths(files);
}

// Native paths; a backup before a sync of mail holds them too.
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

// A sync of mails, or what it would do; the options name a Maildir.
Output RunMail(Workplace& workplace, const Options& options, const sync::CommandPlace& command,
               bool isStatus) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    const auto can = mail::CanParseMail();
    if (!can && isStatus) return {{}, {"mails: " + can.Error().Message()}};
    OrEnd(can);
    const eudora::Setup& setup = workplace.Setup();
    OrEnd(eudora::RefuseMailsElsewhere(setup));
    const auto inbox = platform::NativePathOf(setup.eudoraFolder + "\\In.mbx");
    if (!inbox) {
        throw Ended(base::Refused("no drive leads to the in-box in " + setup.eudoraShown));
    }
    IncomingReader reader(setup);
    mailsync::MailSyncOptions sync;
    sync.open = [&workplace] { return OpenSource(workplace); };
    sync.parse = [&reader](std::string_view bytes, const std::string& name) {
        return reader.Read(bytes, name);
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
        return report ? SyncOutput(*report, Subject::kMails, options.quiet)
                      : RefusalOutput(report.Error());
    }
    return StatusOutput(mailsync::RunMailStatus(command, sync),
                        {"in-box: " + sync.inbox, "Maildir: " + sync.maildir}, Subject::kMails,
                        options.quiet);
}

// Contacts and then mails; a refusal of one does not keep the other.
Output Run(const Subjects& subjects, Workplace& workplace, const Options& options, bool isStatus) {
    ProgressLine progress(!options.quiet);
    const auto command = PlaceOf(options, progress);
    if (!subjects.mail) return RunContacts(workplace, options, command, isStatus);
    if (!subjects.contacts) return RunMail(workplace, options, command, isStatus);
    const auto orRefusal = [&](const auto& run) {
        try {
            return run(workplace, options, command, isStatus);
        } catch (const Ended& ended) {
            return RefusalOutput(ended.failure);
        }
    };
    const Output contacts = orRefusal(RunContacts);
    return Joined(contacts, orRefusal(RunMail));
}

// Eudora's lock file lies in the folder of nndbase.txt, above that of the other nickname files.
void RefuseLocked(const std::string& nicknameFile) {
    const auto folder = base::ToPath(nicknameFile).parent_path();
    for (const auto& place : {folder, folder.parent_path()}) {
        const auto locks = platform::NativeFiles().List(base::FromPath(place), "owner.lok");
        if (locks && !locks->empty()) {
            throw Ended(base::Refused(
                "Eudora is running in " + base::FromPath(place) + " (its OWNER.LOK is there)",
                "close it and try again"));
        }
    }
}

}  // namespace

base::ExitCode Sync(const Options& options) {
    const Subjects subjects(options);
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    Workplace workplace(options, subjects.contacts ? Workplace::For::kWork : Workplace::For::kMail);
    return Say(Run(subjects, workplace, options, false), options);
}

base::ExitCode Status(const Options& options) {
    const Subjects subjects(options);
    Options reading = options;
    reading.setup.writesNothing = true;
    Workplace workplace(reading, Workplace::For::kLook);
    Output output = Run(subjects, workplace, reading, true);
    TellEudora(output, eudora::RefuseRunningEudora(workplace.Setup()),
               eudora::NamesLeadingOutside(options.setup), options.setup.followLinks);
    return Say(output, options);
}

base::ExitCode ListBackups(const Options& options) {
    ProgressLine progress(false);
    const auto backups = sync::BackupsOf(PlaceOf(options, progress)).List();
    return Say(backups ? BackupsOutput(*backups) : RefusalOutput(backups.Error()), options);
}

base::ExitCode Restore(const Options& options) {
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    // A known Eudora must not run; a backup can also be put back without an Eudora.
    const auto setup = eudora::Prepare(options.setup);
    if (options.setup.eudora || options.setup.winePrefix) OrEnd(setup);
    if (setup) OrEnd(eudora::RefuseRunningEudora(*setup));
    ProgressLine progress(false);
    const auto command = PlaceOf(options, progress);
    // The files of a backup must not be in the hands of a running Eudora, whichever it is.
    const auto backups = sync::BackupsOf(command).List();
    for (const auto& backup : backups ? *backups : std::vector<backup::Backup>()) {
        if (backup.id != options.record) continue;
        for (const backup::BackupFile& file : backup.files) RefuseLocked(file.origin);
    }
    const auto before = sync::Restore(command, options.record);
    return Say(before ? RestoreOutput(options.record, *before) : RefusalOutput(before.Error()),
               options);
}

}  // namespace host::cli
