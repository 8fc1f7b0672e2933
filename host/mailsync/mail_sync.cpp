#include "host/mailsync/mail_sync.h"

#include <algorithm>

#include "host/base/paths.h"
#include "host/mailsync/execute_mail.h"
#include "host/mailsync/load_mail.h"
#include "host/state/state_file.h"
#include "host/sync/look.h"
#include "mailbox/toc_file.h"
#include "text/ascii.h"

namespace host::mailsync {

namespace {

// Both sides, the memory and the plan between them.
struct MailRun {
    std::unique_ptr<state::MailMemory> memory;
    std::unique_ptr<mail::MailSource> source;
    MailFolders folders;
    base::Progress progress;
    std::vector<state::RememberedMail> remembered;
    bool hasOtherTexts = false;  // than those that are remembered
    MailSides sides;
    MailPlan plan;

    MailRun(const sync::RunContext& context, const MailSyncOptions& options)
        : folders(context.files, context.clock, options.maildir),
          progress(context.clock, context.progress) {}
};

base::Status CheckFolder(const sync::RunContext& context, const MailSyncOptions& options,
                         const MailRun& run) {
    auto checked = CheckMaildir(context.files, options.maildir,
                                base::ParentFolder(context.files, options.inbox));
    if (!checked) return checked;
    const bool isKnown = std::ranges::any_of(run.remembered, [](const state::RememberedMail& row) {
        return row.link == state::MailLink::kInStep;
    });
    if (!isKnown || context.files.Exists(options.maildir)) return {};
    return base::RefusedFor(options.maildir, "the Maildir is gone",
                            "bring it back or name its new place with --maildir");
}

// Eudora's texts were read in another code page, or the person asks for it: the files that kvsync
// composed of them are to be composed again. Gives whether that is so.
bool MeanOtherTexts(const state::MailMemory& memory, const MailSyncOptions& options,
                    std::vector<state::RememberedMail>& remembered) {
    const bool isSamePage = memory.CodePage() == 0 || memory.CodePage() == options.codePage;
    if (isSamePage && !options.refetch) return false;
    for (state::RememberedMail& row : remembered) {
        if (row.size > 0 && row.link != state::MailLink::kSending) {
            row.lack = state::MailLack::kTexts;
        }
    }
    return true;
}

void CheckTexts(const MailSyncOptions& options, MailRun& run) {
    const auto count = [&](bool (*holds)(std::string_view)) {
        return static_cast<std::size_t>(std::ranges::count_if(
            run.sides.eudora, [&](const EudoraHead& head) { return holds(head.name); }));
    };
    sync::CheckTexts(
        {run.memory->CodePage(), options.codePage,
         !options.isCodePageSaid && run.remembered.empty(), "mail", " in sender or subject",
         "files made of Eudora's mails are composed again", count},
        run.plan.report);
}

std::string LookAtSides(const sync::RunContext& context, const MailSyncOptions& options,
                        MailFolders& folders) {
    sync::Look look(context.files);
    look.Add(options.limits);
    look.AddStamp(options.inbox);
    look.AddContent(options.table);
    for (maildir::Maildir* folder : {&folders.mails, &folders.outbox, &folders.sent}) {
        const auto entries = folder->List();
        if (!entries) return {};
        look.Add(std::to_string(entries->size()));
        for (const maildir::MaildirEntry& entry : *entries) {
            look.Add(entry.name);
            look.Add(entry.isFolder ? "folder" : entry.isNew ? "new" : "cur");
        }
    }
    return look.Print();
}

base::Status OpenMemory(const sync::RunContext& context, const MailSyncOptions& options,
                        bool mayWrite, MailRun& run) {
    return sync::Take(
        state::OpenMails(context.files, context.stateFile, SidesOf(context, options), mayWrite),
        run.memory);
}

base::Status Prepare(const sync::RunContext& context, const MailSyncOptions& options,
                     MailRun& run) {
    auto status = sync::Take(run.memory->Load(), run.remembered);
    if (status) status = CheckFolder(context, options, run);
    if (status) status = sync::Take(options.open(), run.source);
    if (!status) return status;
    run.hasOtherTexts = MeanOtherTexts(*run.memory, options, run.remembered);
    status = sync::Take(
        LoadMailSides(*run.source, run.folders, run.remembered, options.codePage, run.progress),
        run.sides);
    if (status && !run.sides.outgoing.empty()) {
        const auto queued = mailbox::CountMails(context.files, options.outbox);
        if (!queued) return queued.Error();
        run.sides.queued = *queued;
    }
    if (!status) return status;
    run.plan = PlanMail(run.sides, options);
    run.plan.report.limits = run.source->Limits();
    CheckTexts(options, run);
    if (run.plan.report.stop) return {};
    if (!run.plan.report.Changes(sync::Side::kEudora)) return {};
    return sync::CheckRights(context.files, options.mailboxes);
}

// Whether a path lies below a folder, by the names alone, as a Maildir need not exist.
bool IsBelow(const platform::Files& files, const std::string& path, std::string folder) {
    if (folder.empty()) return false;
    if (folder.back() != files.Separator()) folder += files.Separator();
    return (path + files.Separator()).starts_with(folder);
}

// A Maildir has cur and new; an empty folder, or one with hidden files only, becomes one.
base::Status CheckContent(platform::Files& files, const std::string& maildir) {
    auto entries = files.List(maildir, "*");
    if (!entries) return base::Refused(entries.Error().Message(), "give yourself read permission");
    const auto has = [&](const char* name) {
        return std::ranges::any_of(
            *entries, [&](const auto& entry) { return entry.isFolder && entry.name == name; });
    };
    const bool isEmpty = std::ranges::all_of(
        *entries, [](const auto& entry) { return entry.name.starts_with('.'); });
    // An interrupted run may have made only one or two of the folders.
    const bool isMaildir = has("cur") || has("new") || has("tmp");
    if (isEmpty || isMaildir) return {};
    return base::Refused(maildir + " is no Maildir, but holds other things",
                         "name an empty folder");
}

// The ids of the mails that a table of contents counts.
base::Result<std::set<std::string>> IdsIn(platform::Files& files, const std::string& table) {
    const auto file = files.Open(table, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    const auto toc = mailbox::ReadToc(**file);
    if (!toc) return toc.Error();
    std::set<std::string> ids;
    for (const auto& mail : toc->mails) ids.insert(mailbox::IndexIdOf(mail.dwMsgId));
    return ids;
}

// What the plan changes or removes. Nothing but a removal makes a mailbox smaller: Eudora itself
// writes it anew some time after one.
std::vector<backup::Origin> FilesAtRisk(const sync::RunContext& context,
                                        const MailSyncOptions& options, const MailRun& run) {
    const auto count = [&](sync::Verb verb) {
        return run.plan.report.Count(sync::Side::kEudora, verb);
    };
    const bool removes = count(sync::Verb::kRemove) > 0;
    const bool changesIn = removes || count(sync::Verb::kAdd) > 0 || count(sync::Verb::kChange) > 0;
    std::vector<backup::Origin> files;
    for (const std::string& path : options.mailboxes) {
        const std::string folder = base::ParentFolder(context.files, path);
        const std::string name = text::Lowered(path.substr(folder.size() + 1));
        const bool isChanged = name.starts_with("in.")      ? changesIn
                               : name.starts_with("trash.") ? removes
                                                            : count(sync::Verb::kQueue) > 0;
        const bool onlyGrows = name.ends_with(".mbx") && (!removes || name.starts_with("out."));
        if (!isChanged) continue;
        files.emplace_back(path, onlyGrows ? backup::Kind::kGrowing : backup::Kind::kEudora);
    }
    for (const MailStep& step : run.plan.steps) {
        if (step.act != sync::Act{sync::Side::kFolder, sync::Verb::kRemove}) continue;
        files.emplace_back(run.folders.mails.PathOf(step.file), backup::Kind::kMail);
    }
    return files;
}

}  // namespace

state::Sides SidesOf(const sync::RunContext& context, const MailSyncOptions& options) {
    return {options.inbox,    options.maildir,    options.maildir,
            options.codePage, context.eudoraLock, options.wait};
}

base::Result<sync::Report> RunMailSync(const sync::RunContext& context,
                                       const MailSyncOptions& options) {
    MailRun run(context, options);
    auto opened = OpenMemory(context, options, !options.dryRun, run);
    if (!opened) return opened.Error();
    sync::IdleRuns idle(options, *run.memory,
                        [&] { return LookAtSides(context, options, run.folders); });
    if (auto report = idle.Known()) return *std::move(report);
    if (auto status = Prepare(context, options, run); !status) return status.Error();
    const bool isSettled =
        run.plan.steps.empty() && (run.memory->IsCurrent() || run.remembered.empty());
    if (isSettled) idle.Keep(run.plan.report);
    if (options.dryRun || run.plan.report.stop || isSettled) return std::move(run.plan.report);
    if (auto made = base::MakeFolders(context.files, options.maildir); !made) {
        return base::RefusedBy(made.Error(), options.maildir + " cannot be made",
                               "name another folder with --maildir");
    }
    state::MailMemoryChange first;
    if (run.hasOtherTexts) first.put = run.remembered;
    if (auto begun = run.memory->Begin(std::move(first)); !begun) return begun.Error();
    std::vector<std::string> passedOver;
    const auto queued = [&] { return mailbox::CountMails(context.files, options.outbox); };
    const auto backup = [&] {
        return sync::BackUp(context, SidesOf(context, options), FilesAtRisk(context, options, run),
                            "before a sync of mail", passedOver);
    };
    const auto inBox = [&] { return IdsIn(context.files, options.table); };
    const MailWork work{
        context,       *run.source, run.folders, *run.memory, *options.attachments, run.progress,
        options.parse, queued,      inBox,       backup,      options.codePage};
    sync::Report report = ExecuteMail(run.plan, work);
    for (const std::string& path : passedOver) {
        report.notes.push_back("left alone: " + path + ": is no regular file");
    }
    return report;
}

sync::Preview RunMailStatus(const sync::RunContext& context, const MailSyncOptions& options) {
    MailRun run(context, options);
    auto ready = OpenMemory(context, options, false, run);
    if (ready) ready = Prepare(context, options, run);
    return {run.sides.eudora.size(), run.sides.folder.size(), run.remembered.size(),
            std::move(ready), std::move(run.plan.report)};
}

base::Status CheckMaildir(platform::Files& files, const std::string& maildir,
                          const std::string& eudoraFolder) {
    if (IsBelow(files, maildir, eudoraFolder)) {
        return base::Refused(maildir + " lies in Eudora's own folder", "name one outside of it");
    }
    auto info = files.Stat(maildir);
    if (!info && info.Error().code == platform::ErrorCode::kNotFound) {
        // A name below a file is not found either.
        const std::string parent = base::ParentFolder(files, maildir);
        const auto above = parent.empty() ? info : files.Stat(parent);
        if (above && !above->isFolder) {
            return base::Refused(maildir + " lies below a file", "name a folder");
        }
        return {};
    }
    if (!info) return base::Refused(info.Error().Message(), "give yourself permission");
    if (!info->isFolder) return base::Refused(maildir + " is no folder", "name a folder");
    if (auto content = CheckContent(files, maildir); !content) return content;
    for (const char* part : {"", "cur", "new", "tmp"}) {
        const std::string path = *part ? maildir + files.Separator() + part : maildir;
        const auto inside = files.Stat(path);
        if (inside && inside->isFolder && files.IsReadOnly(path)) {
            return base::Refused(path + " is read-only", "make it writable");
        }
        if (inside && !inside->isFolder)
            return base::Refused(path + " is no folder", "move it away");
    }
    return {};
}

}  // namespace host::mailsync
