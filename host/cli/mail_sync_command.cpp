#include "host/cli/sync_reports.h"
#include "host/mail/compose.h"
#include "host/mailsync/eudora_mail_source.h"
#include "host/mailsync/mail_sync.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

// The translator would make what is missing, so it has to be there; and nobody may be writing it.
platform::Status CheckInBox(const Setup& setup) {
    auto& files = platform::NativeSystem().files;
    for (const char* name : {"In.mbx", "In.toc"}) {
        const auto file = files.Open(setup.eudoraFolder + '\\' + name, platform::OpenMode::kRead,
                                     platform::Share::kRead);
        if (file) continue;
        const auto& error = file.Error();
        if (error.code == platform::ErrorCode::kNotFound) {
            return Refused("there is no in-box in " + setup.eudoraShown + " (no " + name +
                           "): start Eudora once, or name the folder that holds its mail");
        }
        if (error.code == platform::ErrorCode::kSharingViolation) {
            return Refused(std::string(name) + " in " + setup.eudoraShown +
                           " is in use by another program: try again when it has ended");
        }
        return Refused(std::string(name) + " in " + setup.eudoraShown +
                       " cannot be read: " + error.Message());
    }
    return {};
}

platform::Result<std::unique_ptr<MailSource>> OpenSource(Workplace& place, bool writesNothing) {
    if (auto ready = CheckInBox(place.Place()); !ready) return ready.Error();
    auto session = TranslatorSession::Create(place.Module(), kMailKind);
    if (!session) return session.Error();
    auto selection = SelectMail(*session, place.Place(), writesNothing);
    if (!selection) return selection.Error();
    return EudoraMailSource::Open(*std::move(session), *selection,
                                  platform::NativeSystem().processes.CodePage());
}

}  // namespace

platform::Result<Report> ReportMail(Workplace& place, const Options& options,
                                    const CommandPlace& command, bool isStatus) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    if (auto can = CanComposeMail(); !can) {
        if (!isStatus) return can.Error();
        Report report;
        report.lines.push_back("mails: " + can.Error().Message());
        report.json = "{}";
        return report;
    }
    if (!options.maildir) {
        return Refused(
            "no Maildir is named: give --maildir DIR, or maildir = \"DIR\" in the "
            "configuration file");
    }
    const auto inbox = ToNativePath(place.Place().eudoraFolder + "\\In.mbx");
    if (!inbox) return Refused("no drive leads to the in-box in " + place.Place().eudoraShown);
    MailSyncOptions sync;
    const bool writesNothing = options.setup.writesNothing;
    sync.open = [&place, writesNothing] { return OpenSource(place, writesNothing); };
    sync.inbox = *inbox;
    sync.maildir = Canonical(*options.maildir);
    sync.dryRun = writesNothing;
    sync.quiet = options.quiet;
    // The command line and the configuration file have been checked.
    if (options.prefer) sync.prefer = ParsePrefer(*options.prefer).value_or(Prefer::kBoth);
    if (options.maxDelete) sync.maxDelete = ParseDeleteLimit(*options.maxDelete);
    return isStatus ? RunMailStatus(command, sync) : RunMailSync(command, sync);
}

}  // namespace host
