#include "host/mailsync/mail_sync.h"

#include <algorithm>

#include "host/backup/backups.h"
#include "host/base/failure.h"
#include "host/base/folders.h"
#include "host/base/progress.h"
#include "host/mailsync/check_maildir.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/load_mail.h"
#include "host/state/state_file.h"
#include "host/sync/place.h"
#include "mailbox/toc_file.h"

namespace host::mailsync {

namespace {

// Both sides, the memory and the plan between them.
struct MailRun {
    std::unique_ptr<state::MailMemory> memory;
    std::unique_ptr<mail::MailSource> source;
    MailFolders folders;
    base::Progress progress;
    std::vector<state::RememberedMail> remembered;
    MailSides sides;
    MailPlan plan;
    std::vector<std::string> passedOver;  // by the backup

    MailRun(const sync::CommandPlace& place, const MailSyncOptions& options)
        : folders(place.files, place.clock, options.maildir),
          progress(place.clock, place.progress) {}
};

base::Status CheckPlace(const sync::CommandPlace& place, const MailSyncOptions& options,
                        const MailRun& run) {
    auto checked =
        CheckMaildir(place.files, options.maildir, base::ParentFolder(place.files, options.inbox));
    if (!checked) return checked;
    const bool isKnown = std::ranges::any_of(run.remembered, [](const state::RememberedMail& row) {
        return row.link == state::MailLink::kInStep;
    });
    if (!isKnown || place.files.Exists(options.maildir)) return {};
    return base::RefusedFor(options.maildir, "the Maildir is gone",
                            "bring it back or name its new place with --maildir");
}

base::Status Prepare(const sync::CommandPlace& place, const MailSyncOptions& options, bool mayWrite,
                     MailRun& run) {
    auto memory = state::OpenMails(place.files, place.stateFile,
                                   options.inbox + '\n' + options.maildir, mayWrite);
    if (!memory) return memory.Error();
    run.memory = *std::move(memory);
    auto remembered = run.memory->Load();
    if (!remembered) return remembered.Error();
    run.remembered = *std::move(remembered);
    if (auto checked = CheckPlace(place, options, run); !checked) return checked;
    auto source = options.open();
    if (!source) return source.Error();
    run.source = *std::move(source);
    auto sides = LoadMailSides(*run.source, run.folders, run.remembered, run.progress);
    if (!sides) return sides.Error();
    run.sides = *std::move(sides);
    if (!run.sides.outgoing.empty()) {
        auto queued = mailbox::CountMails(place.files, options.outbox);
        if (!queued) return queued.Error();
        run.sides.queued = *queued;
    }
    run.plan = PlanMail(run.sides, options);
    run.plan.report.limits = run.source->Limits();
    if (run.plan.stop) return base::Refused(*run.plan.stop);
    if (!run.plan.report.Changes(sync::Side::kEudora)) return {};
    return sync::CheckRights(place.files, options.mailboxes);
}

MailWork WorkOf(const sync::CommandPlace& place, const MailSyncOptions& options, MailRun& run) {
    return {*run.source,
            run.folders,
            *run.memory,
            place.files,
            *options.attachments,
            place.clock,
            run.progress,
            options.parse,
            [&] { return mailbox::CountMails(place.files, options.outbox); },
            [&] {
                return sync::BackUp(place, options.eudoraFiles, "before a sync of mail",
                                    run.passedOver);
            }};
}

}  // namespace

base::Result<sync::Report> RunMailSync(const sync::CommandPlace& place,
                                       const MailSyncOptions& options) {
    MailRun run(place, options);
    if (auto status = Prepare(place, options, !options.dryRun, run); !status) {
        return status.Error();
    }
    if (options.dryRun || run.plan.steps.empty()) return std::move(run.plan.report);
    sync::Report report = ExecuteMail(run.plan, WorkOf(place, options, run));
    for (const std::string& path : run.passedOver) {
        report.notes.push_back("left alone: " + path + ": is no regular file");
    }
    return report;
}

sync::Preview RunMailStatus(const sync::CommandPlace& place, const MailSyncOptions& options) {
    MailRun run(place, options);
    auto ready = Prepare(place, options, false, run);
    return {run.sides.eudora.size(), run.sides.folder.size(), run.remembered.size(),
            std::move(ready), std::move(run.plan.report)};
}

}  // namespace host::mailsync
