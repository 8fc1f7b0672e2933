#include "host/sync/backup_commands.h"

#include <nlohmann/json.hpp>

#include "host/state/mail_state.h"

namespace host::sync {

namespace {

// With the in-box of another day what was in step tells nothing: the next run must not carry the
// difference into the Maildir as removals.
platform::Status ForgetMails(const CommandPlace& place, const backup::Backup& backup) {
    for (const backup::BackupFile& file : backup.files) {
        auto forgotten = state::MailState::ForgetInBox(place.files, place.stateFile, file.origin);
        if (!forgotten) return forgotten;
    }
    return {};
}

}  // namespace

base::Report RunBackups(const CommandPlace& place) {
    auto backups = BackupsOf(place).List();
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
    if (report.lines.empty()) report.lines.push_back("no backups yet");
    base::FinishReport(report, {{"backups", std::move(list)}});
    return report;
}

base::Report RunRestore(const CommandPlace& place, const std::string& id) {
    backup::Backups backups = BackupsOf(place);
    auto lock =
        state::StateLock::Take(place.files, place.stateFile, place.files.Exists(place.stateFile));
    if (!lock) return base::RefusalReport(lock.Error());
    auto present = backups.Restore(
        id, [&](const backup::Backup& backup) { return ForgetMails(place, backup); });
    if (!present) return base::RefusalReport(present.Error());
    base::Report report;
    report.code = base::ExitCode::kChangesMade;
    report.lines = {"backup " + id + " is back in place",
                    "what was there before is backup " + present->id};
    base::FinishReport(report, {{"restored", id}, {"before", present->id}});
    return report;
}

}  // namespace host::sync
