#include "host/base/paths.h"
#include "host/cli/commands.h"
#include "host/cli/mail_sync_run.h"
#include "host/cli/sync_output.h"
#include "host/cli/workplace.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/outside_names.h"
#include "host/state/state_file.h"
#include "host/sync/rules.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

// What a run is about: what its words name, else everything that has a folder.
struct Subjects {
    bool contacts = false, mail = false;

    Subjects(const Options& options, const std::string& what)
        : contacts(what.empty() ? options.contacts || !options.maildir : what == "contacts"),
          mail(what.empty() ? options.maildir.has_value() : what == "mail") {}
};

base::Status CheckFolders(const Subjects& subjects, const Options& options) {
    if (subjects.contacts && !options.contacts) {
        return base::Refused("no contacts folder is named",
                             "give --contacts DIR, or contacts = \"DIR\" in the configuration "
                             "file");
    }
    if (subjects.mail && !options.maildir) {
        return base::Refused("no Maildir is named",
                             "give --maildir DIR, or maildir = \"DIR\" in the configuration file");
    }
    return {};
}

base::Result<Output> RunContacts(Workplace& workplace, const Options& options,
                                 const sync::CommandPlace& command, bool isStatus) {
    auto eudora = workplace.Contacts(!isStatus);
    if (!eudora) return eudora.Error();
    contactsync::SyncOptions sync;
    sync.eudora = *std::move(eudora);
    sync.contactsFolder = *options.contacts;
    SetRules(options, sync);
    if (!isStatus) {
        const auto report = contactsync::RunSync(command, sync);
        if (!report) return RefusalOutput(report.Error());
        return SyncOutput(*report, Subject::kContacts, options.quiet);
    }
    const auto lock = state::StateLock::Take(command.files, command.stateFile, false);
    std::vector<std::string> head = {
        "address book: " + sync.eudora.file + " (" + sync.eudora.file + ")",
        "contacts folder: " + sync.contactsFolder, "state: " + command.stateFile,
        "locked: " + (lock ? "no" : lock.Error().Message())};
    return StatusOutput(contactsync::RunStatus(command, sync), std::move(head), Subject::kContacts,
                        options.quiet);
}

// Contacts and then mails; a refusal of one does not keep the other.
base::Result<Output> Run(const Subjects& subjects, Workplace& workplace, const Options& options,
                         bool isStatus) {
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    if (!subjects.mail) return RunContacts(workplace, options, *command, isStatus);
    if (!subjects.contacts) return RunMail(workplace, options, *command, isStatus);
    const auto contacts = RunContacts(workplace, options, *command, isStatus);
    const auto mail = RunMail(workplace, options, *command, isStatus);
    return Joined(contacts ? *contacts : RefusalOutput(contacts.Error()),
                  mail ? *mail : RefusalOutput(mail.Error()));
}

// Eudora's lock file lies in the folder of nndbase.txt, above that of the other nickname files.
base::Status RefuseLocked(const std::string& nicknameFile) {
    const auto folder = base::ToPath(nicknameFile).parent_path();
    for (const auto& place : {folder, folder.parent_path()}) {
        const auto locks = platform::NativeFiles().List(base::FromPath(place), "owner.lok");
        if (locks && !locks->empty()) {
            return base::Refused(
                "Eudora is running in " + base::FromPath(place) + " (its OWNER.LOK is there)",
                "close it and try again");
        }
    }
    return {};
}

// The files of a backup must not be in the hands of a running Eudora, whichever it is.
base::Status RefuseLockedBackup(const sync::CommandPlace& place, const std::string& id) {
    const auto backups = sync::BackupsOf(place).List();
    for (const backup::Backup& backup : backups ? *backups : std::vector<backup::Backup>()) {
        if (backup.id != id) continue;
        for (const backup::BackupFile& file : backup.files) {
            if (auto free = RefuseLocked(file.origin); !free) return free;
        }
    }
    return {};
}

}  // namespace

Ending Sync(const Options& options, const std::string& what) {
    const Subjects subjects(options, what);
    if (auto named = CheckFolders(subjects, options); !named) return named.Error();
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return inside.Error();
    }
    auto workplace =
        subjects.contacts ? Workplace::Enter(options) : Workplace::EnterForMail(options);
    if (!workplace) return workplace.Error();
    const auto output = Run(subjects, *workplace, options, false);
    if (!output) return output.Error();
    return Say(*output, options);
}

Ending Status(const Options& options) {
    const Subjects subjects(options, "");
    if (auto named = CheckFolders(subjects, options); !named) return named.Error();
    Options reading = options;
    reading.setup.writesNothing = true;
    auto workplace = Workplace::Enter(reading, true);
    if (!workplace) return workplace.Error();
    auto output = Run(subjects, *workplace, reading, true);
    if (!output) return output.Error();
    TellEudora(*output, eudora::RefuseRunningEudora(workplace->Setup()),
               eudora::NamesLeadingOutside(options.setup), options.setup.followLinks);
    return Say(*output, options);
}

Ending ListBackups(const Options& options) {
    ProgressLine progress(false);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    const auto backups = sync::BackupsOf(*command).List();
    return Say(backups ? BackupsOutput(*backups) : RefusalOutput(backups.Error()), options);
}

Ending Restore(const Options& options, const std::string& id) {
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return inside.Error();
    }
    // Where an Eudora is known it must not run; a backup can be put back without one.
    const auto setup = eudora::Prepare(options.setup);
    const bool isNamed = options.setup.eudora || options.setup.winePrefix;
    if (!setup && isNamed) return setup.Error();
    if (setup) {
        if (auto stopped = eudora::RefuseRunningEudora(*setup); !stopped) return stopped.Error();
    }
    ProgressLine progress(false);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    if (auto free = RefuseLockedBackup(*command, id); !free) return free.Error();
    const auto before = sync::Restore(*command, id);
    return Say(before ? RestoreOutput(id, *before) : RefusalOutput(before.Error()), options);
}

}  // namespace host::cli
