#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/engine/commands.h"
#include "host/engine/place.h"
#include "host/engine/progress.h"
#include "host/engine/report.h"
#include "host/state/mail_state.h"
#include "host/state/state_file.h"

namespace host {

namespace {

platform::Result<std::size_t> Export(const CommandPlace& place, const ExportOptions& options) {
    auto time = CheckNicknameFile(place.files, options.eudora.nativeFile);
    if (!time) return time.Error();
    EudoraContacts eudora(options.eudora.open, options.eudora.codePage, *time);
    VdirContacts folder(place.files, options.toFolder, place.clock, NewUuid);
    auto present = folder.List();
    if (!present) return present.Error();
    if (!present->empty()) {
        return Refused(options.toFolder + ": holds vCards already; name an empty folder");
    }
    auto items = eudora.List();
    if (!items) return items.Error();
    Progress progress(place.clock, place.progress);
    std::size_t count = 0;
    for (const StoreItem& item : *items) {
        progress.Step("exporting", count++, items->size());
        auto stored = eudora.Read(item.id);
        if (!stored) return stored.Error();
        auto added = folder.Add(stored->contact, "");
        if (!added) return added.Error();
    }
    return count;
}

// With the in-box of another day what was in step tells nothing: the next run must not carry the
// difference into the Maildir as removals.
platform::Status ForgetMails(const CommandPlace& place, const Backup& backup) {
    for (const BackupFile& file : backup.files) {
        auto forgotten = MailState::ForgetInBox(place.files, place.stateFile, file.origin);
        if (!forgotten) return forgotten;
    }
    return {};
}

}  // namespace

Report RunExport(const CommandPlace& place, const ExportOptions& options) {
    auto count = Export(place, options);
    if (!count) return RefusalReport(count.Error());
    Report report;
    report.code = *count > 0 ? ExitCode::kChangesMade : ExitCode::kNothingToDo;
    report.lines.push_back(std::to_string(*count) + " contacts exported to " + options.toFolder);
    FinishReport(report, {{"exported", *count}});
    return report;
}

Report RunBackups(const CommandPlace& place) {
    auto backups = BackupsOf(place).List();
    if (!backups) return RefusalReport(backups.Error());
    Report report;
    auto list = nlohmann::json::array();
    for (const Backup& backup : *backups) {
        std::string line = backup.id + "  " + backup.reason;
        auto files = nlohmann::json::array();
        for (const BackupFile& file : backup.files) {
            line += "  " + file.origin;
            files.push_back(file.origin);
        }
        report.lines.push_back(std::move(line));
        list.push_back({{"id", backup.id}, {"reason", backup.reason}, {"files", files}});
    }
    if (report.lines.empty()) report.lines.push_back("no backups yet");
    FinishReport(report, {{"backups", std::move(list)}});
    return report;
}

Report RunRestore(const CommandPlace& place, const RestoreOptions& options) {
    Backups backups = BackupsOf(place);
    auto lock = StateLock::Take(place.files, place.stateFile, place.files.Exists(place.stateFile));
    if (!lock) return RefusalReport(lock.Error());
    auto present = backups.Restore(
        options.id, [&](const Backup& backup) { return ForgetMails(place, backup); });
    if (!present) return RefusalReport(present.Error());
    Report report;
    report.code = ExitCode::kChangesMade;
    report.lines = {"backup " + options.id + " is back in place",
                    "what was there before is backup " + present->id};
    FinishReport(report, {{"restored", options.id}, {"before", present->id}});
    return report;
}

}  // namespace host
