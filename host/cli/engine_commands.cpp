#include <nlohmann/json.hpp>

#include "host/base/native_path.h"
#include "host/cli/commands.h"
#include "host/cli/run_place.h"
#include "host/cli/sync_reports.h"
#include "host/cli/workplace.h"
#include "host/contactsync/contact_export.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/outside_names.h"
#include "host/eudora/windows_path.h"
#include "host/sync/backup_commands.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

platform::Result<contactsync::EudoraPlace> EudoraOf(Workplace& place, bool forWriting) {
    auto file = place.NicknameFile(forWriting);
    if (!file) return file.Error();
    const auto native = eudora::ToNativePath(*file);
    if (!native) return base::Refused("no drive leads to " + base::ToUtf8(*file));
    contactsync::EudoraPlace eudora;
    eudora.open = [&place, file = *file] {
        return translator::TranslatorSession::OpenContacts(place.Module(), file);
    };
    // Every bare folder is C:\Eudora to Eudora: only the native path tells them apart.
    eudora.selection = *native;
    eudora.nativeFile = *native;
    eudora.codePage = platform::NativeSystem().processes.CodePage();
    return eudora;
}

// Eudora's lock file lies in the folder of nndbase.txt, above that of the other nickname files.
platform::Status RefuseLocked(const std::string& nicknameFile) {
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
platform::Status RefuseLockedBackup(const sync::CommandPlace& place, const std::string& id) {
    const auto known = nlohmann::json::parse(sync::RunBackups(place).json, nullptr, false);
    if (!known.is_object()) return {};
    for (const auto& backup : known.value("backups", nlohmann::json::array())) {
        if (backup.value("id", "") != id) continue;
        for (const auto& file : backup.value("files", nlohmann::json::array())) {
            if (auto free = RefuseLocked(file.get<std::string>()); !free) return free;
        }
    }
    return {};
}

platform::Status FillSync(const Options& options, contactsync::SyncOptions& sync) {
    if (!options.contacts) {
        return base::Refused(
            "no contacts folder is named: give --contacts DIR, or contacts = \"DIR\" in "
            "the configuration file");
    }
    sync.contactsFolder = *options.contacts;
    sync.quiet = options.quiet;
    sync.dryRun = options.setup.writesNothing;
    // The command line and the configuration file have been checked.
    if (options.prefer)
        sync.prefer = sync::ParsePrefer(*options.prefer).value_or(sync::Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = sync::ParseDeleteLimit(*options.maxDelete);
    return {};
}

}  // namespace

platform::Result<base::Report> ReportContacts(Workplace& place, const Options& options,
                                              const sync::CommandPlace& command, bool isStatus) {
    contactsync::SyncOptions sync;
    if (auto filled = FillSync(options, sync); !filled) return filled.Error();
    auto eudora = EudoraOf(place, !isStatus);
    if (!eudora) return eudora.Error();
    sync.eudora = *std::move(eudora);
    return isStatus ? contactsync::RunStatus(command, sync) : contactsync::RunSync(command, sync);
}

base::ExitCode ExportContacts(const Options& options, const std::string& toFolder) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto eudora = EudoraOf(*place, false);
    if (!eudora) return Fail(eudora.Error());
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    const base::Report report = contactsync::ExportContacts(*command, *eudora, toFolder);
    progress.Show({});
    return Say(report, options);
}

base::ExitCode ListBackups(const Options& options) {
    ProgressLine progress(false);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    return Say(sync::RunBackups(*command), options);
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
    return Say(sync::RunRestore(*command, {id}), options);
}

}  // namespace host::cli
