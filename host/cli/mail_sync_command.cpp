#include "host/cli/sync_reports.h"
#include "host/mail/compose.h"
#include "host/mailsync/eudora_mail_source.h"
#include "host/mailsync/mail_sync.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

platform::Result<std::unique_ptr<MailSource>> OpenSource(Workplace& place) {
    std::string selection;
    auto session = place.SelectInBox(selection);
    if (!session) return session.Error();
    return EudoraMailSource::Open(*std::move(session), selection,
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
    sync.open = [&place] { return OpenSource(place); };
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
