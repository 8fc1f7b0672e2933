#include <nlohmann/json.hpp>

#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "host/cli/commands.h"
#include "host/cli/run_place.h"
#include "host/cli/sync_output.h"
#include "host/cli/sync_reports.h"
#include "host/cli/workplace.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/outside_names.h"
#include "host/state/state_file.h"
#include "host/sync/place.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

base::Result<contactsync::EudoraPlace> EudoraOf(Workplace& place, bool forWriting) {
    auto file = place.NicknameFile(forWriting);
    if (!file) return file.Error();
    const auto native = platform::NativePathOf(*file);
    if (!native) return base::Refused("no drive leads to " + base::ToUtf8(*file));
    contactsync::EudoraPlace eudora;
    eudora.open = [&place, file = *file] {
        return translator::TranslatorSession::OpenContacts(place.Module(), file);
    };
    eudora.file = *native;
    eudora.codePage = platform::NativeSystem().codePage;
    return eudora;
}

// Eudora's lock file lies in the folder of nndbase.txt, above that of the other nickname files.
base::Status RefuseLocked(const std::string& nicknameFile) {
    const auto folder = base::ToPath(nicknameFile).parent_path();
    for (const auto& place : {folder, folder.parent_path()}) {
        const auto locks = platform::NativeFiles().List(base::FromPath(place), "owner.lok");
        if (locks && !locks->empty()) {
            return base::Refused("Eudora is running in " + base::FromPath(place) +
                                 " (its OWNER.LOK is there): close it and try again");
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

base::Status FillSync(const Options& options, contactsync::SyncOptions& sync) {
    if (!options.contacts) {
        return base::Refused(
            "no contacts folder is named: give --contacts DIR, or contacts = \"DIR\" in "
            "the configuration file");
    }
    sync.contactsFolder = *options.contacts;
    sync.dryRun = options.setup.writesNothing;
    // The command line and the configuration file have been checked.
    if (options.prefer)
        sync.prefer = sync::ParsePrefer(*options.prefer).value_or(sync::Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = sync::ParseDeleteLimit(*options.maxDelete);
    return {};
}

base::Report BackupsOutput(const base::Result<std::vector<backup::Backup>>& backups) {
    if (!backups) return base::RefusalReport(backups.Error());
    base::Report report;
    auto list = nlohmann::json::array();
    for (const backup::Backup& backup : *backups) {
        std::string line = backup.id + "  " + backup.reason;
        auto files = nlohmann::json::array();
        for (const backup::BackupFile& file : backup.files) {
            line += "  " + file.origin;
            files.push_back(file.origin);
        }
        report.lines.push_back(std::move(line));
        list.push_back({{"id", backup.id}, {"reason", backup.reason}, {"files", files}});
    }
    if (report.lines.empty()) report.lines.emplace_back("no backups yet");
    base::FinishReport(report, {{"backups", std::move(list)}});
    return report;
}

}  // namespace

base::Result<base::Report> ReportContacts(Workplace& place, const Options& options,
                                          const sync::CommandPlace& command, bool isStatus) {
    contactsync::SyncOptions sync;
    if (auto filled = FillSync(options, sync); !filled) return filled.Error();
    auto eudora = EudoraOf(place, !isStatus);
    if (!eudora) return eudora.Error();
    sync.eudora = *std::move(eudora);
    if (!isStatus) {
        return SyncOutput(contactsync::RunSync(command, sync), Subject::kContacts, options.quiet);
    }
    const auto lock = state::StateLock::Take(command.files, command.stateFile, false);
    std::vector<std::string> head = {
        "address book: " + sync.eudora.file + " (" + sync.eudora.file + ")",
        "contacts folder: " + sync.contactsFolder, "state: " + command.stateFile,
        "locked: " + (lock ? "no" : lock.Error().Message())};
    return StatusOutput(contactsync::RunStatus(command, sync), std::move(head), Subject::kContacts,
                        options.quiet);
}

base::ExitCode ExportContacts(const Options& options, const std::string& toFolder) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto eudora = EudoraOf(*place, false);
    if (!eudora) return Fail(eudora.Error());
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    const auto count = contactsync::ExportContacts(*command, *eudora, toFolder);
    progress.Show({});
    if (!count) return Say(base::RefusalReport(count.Error()), options);
    base::Report report;
    report.code = *count > 0 ? base::ExitCode::kChangesMade : base::ExitCode::kNothingToDo;
    report.lines.push_back(std::to_string(*count) + " contacts exported to " + toFolder);
    base::FinishReport(report, {{"exported", *count}});
    return Say(report, options);
}

base::ExitCode ListBackups(const Options& options) {
    ProgressLine progress(false);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    return Say(BackupsOutput(sync::BackupsOf(*command).List()), options);
}

base::ExitCode Restore(const Options& options, const std::string& id) {
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    ProgressLine progress(false);
    // Where an Eudora is known it must not run; a backup can be put back without one.
    const auto setup = eudora::Prepare(options.setup);
    const bool isNamed = options.setup.eudora || options.setup.winePrefix;
    if (!setup && isNamed) return Fail(setup.Error());
    if (setup) {
        if (auto stopped = eudora::RefuseRunningEudora(*setup); !stopped)
            return Fail(stopped.Error());
    }
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    if (auto free = RefuseLockedBackup(*command, id); !free) return Fail(free.Error());
    const auto before = sync::Restore(*command, id);
    if (!before) return Say(base::RefusalReport(before.Error()), options);
    base::Report report;
    report.code = base::ExitCode::kChangesMade;
    report.lines = {"backup " + id + " is back in place",
                    "what was there before is backup " + before->id};
    base::FinishReport(report, {{"restored", id}, {"before", before->id}});
    return Say(report, options);
}

}  // namespace host::cli
