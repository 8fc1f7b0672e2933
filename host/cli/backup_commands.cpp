#include "host/cli/backup_commands.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/eudora/outside_names.h"
#include "platform/os/system.h"
#include "text/calendar.h"

namespace host::cli {

namespace {

using backup::Backup;
using backup::BackupFile;
using backup::Kind;

// The instant that the id of a backup tells.
std::chrono::sys_seconds TimeOf(const Backup& backup) {
    const auto part = [&](std::size_t at, std::size_t count) {
        return std::atoi(backup.id.substr(at, count).c_str());
    };
    using namespace std::chrono;
    const sys_days day =
        year(part(0, 4)) / static_cast<unsigned>(part(4, 2)) / static_cast<unsigned>(part(6, 2));
    return day + hours(part(9, 2)) + minutes(part(11, 2)) + seconds(part(13, 2));
}

std::chrono::seconds ZoneAt(std::chrono::sys_seconds time) {
    return platform::NativeSystem().clock.UtcOffset(time);
}

// What a backup is, in one line.
std::string Headline(const Backup& backup) {
    const auto time = TimeOf(backup);
    const auto local = text::CivilTime(time, ZoneAt(time));
    return backup.id + "  " + text::Format("%Y-%m-%d %H:%M", local) + "  " + backup.reason + "  " +
           base::Counted(backup.files.size(), "file") + ", " + SizeText(backup.CopiedBytes()) +
           "  " + EudoraFolderOf(platform::NativeFiles(), backup);
}

nlohmann::json ToJson(const Backup& backup) {
    auto files = nlohmann::json::array();
    for (const BackupFile& file : backup.files) files.push_back(file.path);
    const auto time = TimeOf(backup);
    return {{"id", backup.id},
            {"time", text::IsoText(text::CivilTime(time, ZoneAt(time)), ZoneAt(time))},
            {"reason", backup.reason},
            {"size", backup.CopiedBytes()},
            {"eudora", EudoraFolderOf(platform::NativeFiles(), backup)},
            {"files", files}};
}

Output ListOutput(const std::vector<Backup>& backups, base::ExitCode code, const char* lead,
                  const char* none) {
    Output output{code};
    auto list = nlohmann::json::array();
    for (const Backup& backup : backups) {
        output.lines.push_back(lead + Headline(backup));
        list.push_back(ToJson(backup));
    }
    if (backups.empty()) output.lines.emplace_back(none);
    output.Finish({{"backups", std::move(list)}});
    return output;
}

Output ShowOutput(const Backup& backup) {
    Output output{{}, {Headline(backup)}};
    for (const BackupFile& file : backup.files) {
        const bool isGrowing = file.kind == Kind::kGrowing;
        output.lines.push_back(file.path + "  " + SizeText(file.size) +
                               (isGrowing ? ", its length alone" : ""));
    }
    for (const std::string& path : backup.absent) output.lines.push_back(path + "  was not there");
    output.Finish(ToJson(backup));
    return output;
}

// A line for each file; for many of the other side their number, if not all are wanted.
void Describe(const backup::Restored& restored, bool all, std::vector<std::string>& lines) {
    constexpr std::size_t kMost = 10;
    constexpr struct {
        Kind kind;
        const char* what;
    } kOthers[] = {{Kind::kCard, "vCard"}, {Kind::kMail, "mail"}};
    const auto isOf = [](Kind kind) {
        return [kind](const BackupFile& file) { return file.kind == kind; };
    };
    const auto list = [&](Kind kind) {
        for (const BackupFile& file : restored.placed) {
            const bool isGrowing = kind == Kind::kGrowing;
            if (file.kind != kind && !(file.IsEudoras() && isGrowing)) continue;
            lines.push_back("put back: " + file.path);
            if (file.kind != Kind::kGrowing) continue;
            lines.back() += ", cut to " + SizeText(file.size);
        }
    };
    list(Kind::kGrowing);
    for (const auto& [kind, what] : kOthers) {
        const auto count =
            static_cast<std::size_t>(std::ranges::count_if(restored.placed, isOf(kind)));
        if (count <= kMost || all) {
            list(kind);
        } else {
            lines.push_back("put back: " + base::Counted(count, what) + " (-v lists them)");
        }
    }
    for (const std::string& path : restored.removed) {
        lines.push_back("removed, as it was not there: " + path);
    }
}

Output RestoreOutput(const std::string& id, const backup::Restored& restored, bool all) {
    Output output;
    if (restored.IsEmpty()) {
        output.lines.push_back("all of backup " + id + " is in place already");
    } else {
        output.code = base::ExitCode::kChangesMade;
        Describe(restored, all, output.lines);
        output.lines.push_back("backup " + id + " is back in place");
    }
    if (!restored.before.empty()) {
        output.lines.push_back("what was there before is backup " + restored.before);
    }
    auto files = nlohmann::json::array();
    for (const BackupFile& file : restored.placed) files.push_back(file.path);
    output.Finish({{"restored", id},
                   {"before", restored.before},
                   {"files", std::move(files)},
                   {"removed", restored.removed}});
    return output;
}

// The folder of the Eudora that the options name; empty if they name none.
std::string NamedEudora(const Options& options) {
    if (options.setup.eudora) return eudora::WithoutLinks(*options.setup.eudora);
    if (!options.setup.winePrefix) return {};
    eudora::SetupOptions looking = options.setup;
    looking.writesNothing = true;
    const auto setup = OrEnd(eudora::Prepare(looking));
    return platform::NativePathOf(setup.eudoraFolder).value_or(setup.eudoraShown);
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

base::ExitCode ListBackups(const Options& options) {
    ProgressLine progress(false);
    const auto command = ContextOf(options, progress);
    const std::string folder = NamedEudora(options);
    auto backups = sync::BackupsOf(command);
    if (options.prune) {
        const auto gone = OrEnd(sync::PruneBackups(command, folder));
        const auto code =
            gone.empty() ? base::ExitCode::kNothingToDo : base::ExitCode::kChangesMade;
        return Say(ListOutput(gone, code, "removed: ", "no backup is too old or too much"),
                   options);
    }
    if (!options.record.empty()) {
        return Say(ShowOutput(OrEnd(backups.Find(options.record, folder))), options);
    }
    const auto code = base::ExitCode::kNothingToDo;
    return Say(ListOutput(OrEnd(backups.List(folder)), code, "", "no backups yet"), options);
}

base::ExitCode Restore(const Options& options) {
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    // A known Eudora must not run; a backup can also be put back without an Eudora.
    const auto setup = eudora::Prepare(options.setup);
    if (options.setup.eudora || options.setup.winePrefix) OrEnd(setup);
    if (setup) OrEnd(eudora::RefuseRunningEudora(*setup));
    ProgressLine progress(false);
    const auto command = ContextOf(options, progress);
    // The files of a backup must not be in the hands of a running Eudora, whichever it is.
    const backup::Wanted wanted{options.what, NamedEudora(options), options.setup.followLinks};
    const auto backup = OrEnd(sync::BackupsOf(command).Find(options.record, wanted.eudoraFolder));
    for (const BackupFile& file : backup.files) {
        if (file.IsEudoras()) RefuseLocked(file.path);
    }
    const auto restored = OrEnd(sync::Restore(command, options.record, wanted));
    return Say(RestoreOutput(options.record, restored, options.verbose), options);
}

}  // namespace host::cli
