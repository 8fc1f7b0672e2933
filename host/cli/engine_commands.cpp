#include <nlohmann/json.hpp>

#include "host/cli/commands.h"
#include "host/cli/run_place.h"
#include "host/cli/sync_reports.h"
#include "host/cli/workplace.h"
#include "host/engine/commands.h"
#include "host/module/native_path.h"
#include "host/module/outside_names.h"
#include "host/module/windows_path.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host {

namespace {

platform::Result<EudoraPlace> EudoraOf(Workplace& place, bool forWriting) {
    auto file = place.NicknameFile(forWriting);
    if (!file) return file.Error();
    const auto native = ToNativePath(*file);
    if (!native) return Refused("no drive leads to " + ToUtf8(*file));
    EudoraPlace eudora;
    eudora.open = [&place, file = *file] {
        return TranslatorSession::OpenContacts(place.Module(), file);
    };
    // Every bare folder is C:\Eudora to Eudora: only the native path tells them apart.
    eudora.selection = *native;
    eudora.nativeFile = *native;
    eudora.codePage = platform::NativeSystem().processes.CodePage();
    return eudora;
}

// Eudora's lock file lies in the folder of nndbase.txt, above that of the other nickname files.
platform::Status RefuseLocked(const std::string& nicknameFile) {
    const auto folder = ToPath(nicknameFile).parent_path();
    for (const auto& place : {folder, folder.parent_path()}) {
        const auto locks = platform::NativeFiles().List(FromPath(place), "owner.lok");
        if (locks && !locks->empty()) {
            return Refused("Eudora is running in " + FromPath(place) +
                           " (its OWNER.LOK is there): close it and try again");
        }
    }
    return {};
}

// The files of a backup must not be in the hands of a running Eudora, whichever it is.
platform::Status RefuseLockedBackup(const CommandPlace& place, const std::string& id) {
    const auto known = nlohmann::json::parse(RunBackups(place).json, nullptr, false);
    if (!known.is_object()) return {};
    for (const auto& backup : known.value("backups", nlohmann::json::array())) {
        if (backup.value("id", "") != id) continue;
        for (const auto& file : backup.value("files", nlohmann::json::array())) {
            if (auto free = RefuseLocked(file.get<std::string>()); !free) return free;
        }
    }
    return {};
}

platform::Status FillSync(const Options& options, SyncOptions& sync) {
    if (!options.contacts) {
        return Refused(
            "no contacts folder is named: give --contacts DIR, or contacts = \"DIR\" in "
            "the configuration file");
    }
    sync.contactsFolder = *options.contacts;
    sync.quiet = options.quiet;
    sync.dryRun = options.setup.writesNothing;
    // The command line and the configuration file have been checked.
    if (options.prefer) sync.prefer = ParsePrefer(*options.prefer).value_or(Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = ParseDeleteLimit(*options.maxDelete);
    return {};
}

}  // namespace

platform::Result<Report> ReportContacts(Workplace& place, const Options& options,
                                        const CommandPlace& command, bool isStatus) {
    SyncOptions sync;
    if (auto filled = FillSync(options, sync); !filled) return filled.Error();
    auto eudora = EudoraOf(place, !isStatus);
    if (!eudora) return eudora.Error();
    sync.eudora = *std::move(eudora);
    return isStatus ? RunStatus(command, sync) : RunSync(command, sync);
}

ExitCode ExportContacts(const Options& options, const std::string& toFolder) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto eudora = EudoraOf(*place, false);
    if (!eudora) return Fail(eudora.Error());
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    const Report report = RunExport(*command, {*std::move(eudora), toFolder});
    progress.Show({});
    return Say(report, options);
}

ExitCode ListBackups(const Options& options) {
    ProgressLine progress(false);
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    return Say(RunBackups(*command), options);
}

ExitCode Restore(const Options& options, const std::string& id) {
    if (auto inside = RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    ProgressLine progress(false);
    // Where an Eudora is known it must not run; a backup can be put back without one.
    const auto setup = Prepare(options.setup);
    const bool isNamed = options.setup.eudora || options.setup.winePrefix;
    if (!setup && isNamed) return Fail(setup.Error());
    if (setup) {
        if (auto stopped = RefuseRunningEudora(*setup); !stopped) return Fail(stopped.Error());
    }
    auto command = PlaceOf(options, progress);
    if (!command) return Fail(command.Error());
    if (auto free = RefuseLockedBackup(*command, id); !free) return Fail(free.Error());
    return Say(RunRestore(*command, {id}), options);
}

}  // namespace host
