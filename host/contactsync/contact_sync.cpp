#include "host/contactsync/contact_sync.h"

#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>

#include "host/backup/backups.h"
#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/contactsync/contact_report.h"
#include "host/contactsync/execute.h"
#include "host/contactsync/load_sides.h"
#include "host/eudora/windows_path.h"
#include "host/state/state_file.h"

namespace host::contactsync {

namespace {

using platform::ErrorCode;

// Both sides, the memory and the plan between them.
struct Run {
    std::optional<state::StateLock> lock;
    std::unique_ptr<state::StateFile> state;
    std::unique_ptr<contacts::EudoraContacts> eudora;
    std::unique_ptr<contacts::VdirContacts> folder;
    base::Progress progress;
    state::Remembered remembered;
    Sides sides;
    Plan plan;
};

platform::Status CheckFolder(platform::Files& files, const std::string& folder, bool isKnown) {
    auto info = files.Stat(folder);
    if (info && !info->isFolder) return base::Refused(folder + ": is no folder; name a folder");
    if (info || info.Error().code == ErrorCode::kNotFound) {
        if (info || !isKnown) return {};
        return base::Refused(folder +
                             ": the contacts folder is gone; bring it back or name its new "
                             "place with --contacts");
    }
    return info.Error();
}

// What the plan needs to write must be writable before the first change.
platform::Status CheckRights(platform::Files& files, const SyncOptions& options, const Plan& plan) {
    const auto isReadOnly = [&](const std::string& path) {
        auto info = files.Stat(path);
        return info && info->isReadOnly;
    };
    if (plan.ChangesEudora() && isReadOnly(options.eudora.nativeFile)) {
        return base::Refused(options.eudora.nativeFile + ": is read-only; make it writable");
    }
    const bool changesFolder =
        std::any_of(plan.steps.begin(), plan.steps.end(),
                    [](const Step& step) { return step.folder.act != Act::kNone; });
    if (changesFolder && isReadOnly(options.contactsFolder)) {
        return base::Refused(options.contactsFolder + ": is read-only; make it writable");
    }
    return {};
}

platform::Status Prepare(const sync::CommandPlace& place, const SyncOptions& options, bool mayWrite,
                         Run& run) {
    auto lock = sync::LockState(place, mayWrite);
    if (!lock) return lock.Error();
    run.lock = *std::move(lock);
    const std::string scope = options.eudora.selection + '\n' + options.contactsFolder;
    auto state = state::StateFile::Open(place.files, place.stateFile, scope, mayWrite);
    if (!state) return state.Error();
    run.state = *std::move(state);
    auto remembered = run.state->Load();
    if (!remembered) return remembered.Error();
    run.remembered = *std::move(remembered);
    const bool isKnown = !run.remembered.pairs.empty();
    if (auto status = CheckFolder(place.files, options.contactsFolder, isKnown); !status) {
        return status;
    }
    auto time = CheckNicknameFile(place.files, options.eudora.nativeFile);
    if (!time) return time.Error();
    run.eudora = std::make_unique<contacts::EudoraContacts>(options.eudora.open,
                                                            options.eudora.codePage, *time);
    run.folder = std::make_unique<contacts::VdirContacts>(place.files, options.contactsFolder,
                                                          place.clock, contacts::NewUuid);
    auto sides = LoadSides(*run.eudora, *run.folder, run.remembered, run.progress);
    if (!sides) return sides.Error();
    run.sides = *std::move(sides);
    run.plan = MakePlan(run.sides, run.remembered,
                        RulesOf(*run.eudora, *run.folder, options.eudora.codePage),
                        {options.prefer, options.maxDelete});
    if (run.plan.stop) return base::Refused(*run.plan.stop);
    return CheckRights(place.files, options, run.plan);
}

std::string LockLine(const sync::CommandPlace& place) {
    auto lock = state::StateLock::Take(place.files, place.stateFile, false);
    return lock ? "locked: no" : "locked: " + lock.Error().Message();
}

}  // namespace

platform::Result<std::chrono::system_clock::time_point> CheckNicknameFile(platform::Files& files,
                                                                          const std::string& path) {
    auto info = files.Stat(path);
    if (!info) return info.Error();
    if (info->isFolder) return base::Refused(path + ": is a folder; select a nickname file");
    if (info->size > eudora::kLargestNicknameFile) {
        return base::Refused(path + ": has " + std::to_string(info->size) +
                             " bytes, too many for a nickname file; select another file");
    }
    return info->modified;
}

base::Report RunSync(const sync::CommandPlace& place, const SyncOptions& options) {
    Run run{{}, {}, {}, {}, base::Progress(place.clock, place.progress), {}, {}, {}};
    if (auto status = Prepare(place, options, !options.dryRun, run); !status) {
        return base::RefusalReport(status.Error());
    }
    if (options.dryRun || run.plan.IsEmpty()) return PlanReport(run.plan, {}, options.quiet);
    const auto backup = [&]() -> platform::Status {
        auto backups = sync::BackupsOf(place);
        const auto made = backups.MakeOf(options.eudora.nativeFile, "before a sync of contacts");
        if (!made) return made.Error();
        for (const std::string& path : made->passedOver) {
            run.plan.passedOver.push_back(path + ": is no regular file");
        }
        return backups.Prune();
    };
    const Outcome outcome =
        Execute(run.plan, *run.eudora, *run.folder, *run.state, backup, run.progress);
    return PlanReport(run.plan, outcome.errors, options.quiet);
}

base::Report RunStatus(const sync::CommandPlace& place, const SyncOptions& options) {
    base::Report report;
    report.lines = {
        "address book: " + options.eudora.selection + " (" + options.eudora.nativeFile + ")",
        "contacts folder: " + options.contactsFolder, "state: " + place.stateFile, LockLine(place)};
    Run run{{}, {}, {}, {}, base::Progress(place.clock, place.progress), {}, {}, {}};
    const auto status = Prepare(place, options, false, run);
    report.lines.push_back("contacts in Eudora: " + std::to_string(run.sides.eudora.size()) +
                           ", in the folder: " + std::to_string(run.sides.folder.size()) +
                           ", remembered: " + std::to_string(run.remembered.pairs.size()));
    if (!status) {
        report.code = base::CodeOf(status.Error());
        report.errors.push_back(status.Error().Message());
    } else {
        report.lines.push_back("a sync now:");
        for (const std::string& line : DescribePlan(run.plan, options.quiet)) {
            report.lines.push_back("  " + line);
        }
    }
    base::FinishReport(report, {{"eudora", run.sides.eudora.size()},
                                {"folder", run.sides.folder.size()},
                                {"remembered", run.remembered.pairs.size()},
                                {"lines", report.lines}});
    return report;
}

}  // namespace host::contactsync
