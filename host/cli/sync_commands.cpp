#include "host/cli/sync_commands.h"

#include <iostream>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/outside_names.h"
#include "host/mail/attach_folder.h"
#include "host/mail/eudora_mails.h"
#include "host/mail/parse.h"
#include "host/mailsync/mail_sync.h"
#include "host/state/state_file.h"
#include "host/translator/in_box.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace host::cli {

namespace {

// The subjects of a run: the one that the command names, else all that have a folder.
struct Subjects {
    bool contacts, mail;

    explicit Subjects(const Options& options) {
        const std::string& what = options.what;
        contacts = what.empty() ? options.contacts || !options.maildir : what == "contacts";
        mail = what.empty() ? options.maildir.has_value() : what == "mail";
        if (contacts && !options.contacts) {
            throw Ended(base::Refused("no contacts folder is named",
                                      "give --contacts DIR, or contacts = \"DIR\" in the "
                                      "configuration file"));
        }
        if (mail && !options.maildir) {
            throw Ended(base::Refused(
                "no Maildir is named",
                "give --maildir DIR, or maildir = \"DIR\" in the configuration file"));
        }
    }
};

// A refusal of one half keeps nothing from the other; wrong calls end the command.
template <class Half>
Output OrRefusal(const Half& half) {
    try {
        return half();
    } catch (const Ended& ended) {
        if (ended.failure.exit == base::ExitCode::kUsage) throw;
        return RefusalOutput(ended.failure);
    }
}

// What is done with the two sides.
enum class Task { kSync, kStatus, kConflicts, kForget };

// Whether a person agrees to forget `what`; asked on the terminal unless --yes is given. Refused
// where nobody can answer.
bool Agrees(const std::string& what, const Options& options) {
    if (options.yes) return true;
    if (options.json || !platform::IsTerminal(platform::Stream::kInput)) {
        throw Ended(
            base::Refused("nobody can be asked whether to forget " + what, "say it with --yes"));
    }
    base::PrintText("Forget what is remembered of " + what +
                    "? The next sync pairs both sides anew and removes nothing. [y/N]");
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

// Forgets what is remembered of the two sides.
template <class Opened>
Output ForgetMemory(Opened opened, const state::Sides& sides, Subject subject,
                    const Options& options) {
    const auto memory = OrEnd(std::move(opened));
    const auto remembered = OrEnd(memory->Load());
    std::size_t count = 0;
    if constexpr (requires { remembered.pairs; }) {
        count = remembered.pairs.size();
    } else {
        count = remembered.size();
    }
    const std::string what = std::to_string(count) +
                             (subject == Subject::kContacts ? " contacts" : " mails") +
                             " between " + sides.eudora + " and " + sides.folder;
    const bool forgets = count > 0 && Agrees(what, options);
    if (forgets) OrEnd(memory->Forget());
    Output output;
    if (forgets) output.code = base::ExitCode::kChangesMade;
    output.lines.push_back((forgets ? "forgotten: " : "nothing is forgotten of ") + what);
    output.Finish({{"forgotten", forgets ? count : 0}});
    return output;
}

// One nickname file and the folder of its vCards, as the task wants it. What keeps it from
// beginning ends the command.
Output RunBook(Workplace& workplace, const Options& options, const sync::RunContext& command,
               Task task, const std::string& nicknameFile, const std::string& folder) {
    contactsync::SyncOptions sync;
    static_cast<sync::Options&>(sync) = options.rules;
    sync.eudora = workplace.Contacts(nicknameFile);
    sync.folder = eudora::WithoutLinks(folder);
    sync.folderAsNamed = folder;
    sync.cardVersion = options.vcardVersion.value_or("4.0");
    OrEnd(eudora::RefuseInsideEudora(workplace.Setup(), sync.folder));
    if (task == Task::kForget) {
        const auto sides = contactsync::SidesOf(command, sync);
        return ForgetMemory(state::OpenPairs(command.files, command.stateFile, sides, true), sides,
                            Subject::kContacts, options);
    }
    if (task == Task::kSync) {
        const auto report = contactsync::RunSync(command, sync);
        return report ? SyncOutput(*report, Subject::kContacts, options.quiet, options.verbose)
                      : RefusalOutput(report.Error());
    }
    const auto preview = contactsync::RunStatus(command, sync);
    if (task == Task::kConflicts) return ConflictsOutput(preview, Subject::kContacts);
    const auto lock = state::LockState(command.files, command.stateFile, false);
    std::vector<std::string> head = {
        "address book: " + sync.eudora.file, "contacts folder: " + sync.folder,
        "state: " + command.stateFile, "locked: " + (lock ? "no" : lock.Error().Message())};
    return StatusOutput(preview, std::move(head), Subject::kContacts, options.quiet);
}

// The contacts, as the task wants it: of several nickname files each has a folder of its own name.
Output RunContacts(Workplace& workplace, const Options& options, const sync::RunContext& command,
                   Task task) {
    const auto files = workplace.NicknameFiles();
    const bool areSeveral = options.setup.nicknameFile == "all" || !options.nicknameFiles.empty();
    if (!areSeveral) return RunBook(workplace, options, command, task, files[0], *options.contacts);
    std::vector<std::pair<std::string, Output>> books;
    for (const std::string& file : files) {
        const std::string name =
            base::ToUtf8(text::SplitPath(file, platform::NativeSystem().codePage).name);
        const std::string folder =
            base::FromPath(base::ToPath(*options.contacts) / base::ToPath(name));
        books.emplace_back(name, OrRefusal([&] {
                               return RunBook(workplace, options, command, task, file, folder);
                           }));
    }
    return Collected(books);
}

// Eudora's mails, once it is sure that the in-box and its table belong together.
base::Result<std::unique_ptr<mail::MailSource>> OpenSource(
    Workplace& workplace, const translator::MailLimitChanges& limits) {
    std::string selection;
    auto session = workplace.SelectInBox(selection);
    if (!session) return session.Error();
    if (auto pair = translator::CheckInBoxPair(workplace.Setup()); !pair) return pair.Error();
    return mail::EudoraMails::Open(*std::move(session), selection, workplace.Setup().eudoraFolder,
                                   limits);
}

// Native paths in the order of a safe restore: a table of contents before its mailbox, which mostly
// grows at its end; the in-box before the Trash, so that a mail is in both rather than in none.
std::vector<std::string> Mailboxes(const eudora::Setup& setup) {
    std::vector<std::string> files;
    for (const char* box : {"In", "Trash", "Out"}) {
        for (const char* end : {".toc", ".mbx"}) {
            auto native = platform::NativePathOf(setup.eudoraFolder + '\\' + box + end);
            if (native) files.push_back(*std::move(native));
        }
    }
    return files;
}

// The mails, as the task wants it; the options name a Maildir.
Output RunMail(Workplace& workplace, const Options& options, const sync::RunContext& command,
               Task task) {
    // Before the translator is asked for mails, which takes files and on Windows Eudora's start.
    const auto can = mail::CanParseMail();
    if (!can && task != Task::kSync) {
        Output output{{}, {"mails: " + can.Error().Message()}};
        output.Finish({{"lines", output.lines}});
        return output;
    }
    OrEnd(can);
    const eudora::Setup& setup = workplace.Setup();
    OrEnd(eudora::RefuseMailsElsewhere(setup));
    const auto inbox = platform::NativePathOf(setup.eudoraFolder + "\\In.mbx");
    if (!inbox) {
        throw Ended(base::Refused("no drive leads to the in-box in " + setup.eudoraShown));
    }
    const auto& system = platform::NativeSystem();
    std::unique_ptr<mail::IncomingFolder> incoming;  // for attachments, made with the first mail
    mailsync::MailSyncOptions sync;
    static_cast<sync::Options&>(sync) = options.rules;
    sync.open = [&] { return OpenSource(workplace, options.mailLimits); };
    sync.parse = [&](std::string_view bytes,
                     const std::string& name) -> base::Result<mail::NewMail> {
        if (incoming == nullptr) {
            auto folder = mail::IncomingFolder::Create(setup.memoryKey);
            if (!folder) return folder.Error();
            incoming = *std::move(folder);
        }
        return mail::ParseMail(
            bytes, {system.files, incoming->Path(), system.codePage, system.clock}, name);
    };
    mail::AttachFolder attachments(system.files, setup.eudoraFolder + "\\Attach", system.codePage);
    sync.attachments = &attachments;
    sync.inbox = *inbox;
    sync.table = platform::NativePathOf(setup.eudoraFolder + "\\In.toc").value_or("");
    sync.limits = translator::LimitsPrint(setup, options.mailLimits);
    sync.outbox = platform::NativePathOf(setup.eudoraFolder + "\\Out.toc").value_or("");
    sync.mailboxes = Mailboxes(setup);
    sync.maildir = eudora::WithoutLinks(*options.maildir);
    sync.codePage = system.codePage;
    sync.isCodePageSaid = workplace.IsCodePageSaid();
    if (task == Task::kForget) {
        const auto sides = mailsync::SidesOf(command, sync);
        return ForgetMemory(state::OpenMails(command.files, command.stateFile, sides, true), sides,
                            Subject::kMails, options);
    }
    if (task == Task::kSync) {
        const auto report = mailsync::RunMailSync(command, sync);
        return report ? SyncOutput(*report, Subject::kMails, options.quiet, options.verbose)
                      : RefusalOutput(report.Error());
    }
    const auto preview = mailsync::RunMailStatus(command, sync);
    if (task == Task::kConflicts) return ConflictsOutput(preview, Subject::kMails);
    return StatusOutput(preview, {"in-box: " + sync.inbox, "Maildir: " + sync.maildir},
                        Subject::kMails, options.quiet);
}

// Contacts and then mails. Of both, one that Eudora does not have is left out.
Output Run(const Subjects& subjects, Workplace& workplace, const Options& options, Task task) {
    ProgressLine progress(!options.quiet);
    auto command = ContextOf(options, progress);
    const std::string& folder = workplace.Setup().eudoraFolder;
    command.eudoraFolder = platform::NativePathOf(folder).value_or("");
    command.eudoraLock = base::FromPath(base::ToPath(workplace.Setup().memoryFolder) / "lock");
    const auto contacts = [&] {
        return OrRefusal([&] { return RunContacts(workplace, options, command, task); });
    };
    const auto mail = [&] {
        return OrRefusal([&] { return RunMail(workplace, options, command, task); });
    };
    if (!subjects.mail) return contacts();
    if (!subjects.contacts) return mail();
    const bool hasBook = workplace.HasNicknameFile(),
               hasInBox = translator::HasInBox(workplace.Setup());
    const auto without = [&](const char* what, Output other) {
        if (!options.quiet) {
            other.lines.insert(other.lines.begin(), "left out: there is no " + std::string(what) +
                                                        " in " + workplace.Setup().eudoraShown);
        }
        return other;
    };
    if (!hasBook && hasInBox) return without("nickname file", mail());
    if (hasBook && !hasInBox) return without("in-box", contacts());
    const Output first = contacts();
    const bool isResolved = options.rules.resolve && first.code != base::ExitCode::kRefused;
    return isResolved ? first : options.rules.resolve ? mail() : Joined(first, mail());
}

}  // namespace

base::ExitCode Sync(const Options& options) {
    const Subjects subjects(options);
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    using enum Workplace::For;
    Workplace workplace(options, options.rules.dryRun ? kLook : subjects.contacts ? kWork : kMail);
    return Say(Run(subjects, workplace, options, Task::kSync), options);
}

base::ExitCode Resolve(const Options& options) {
    Options one = options;
    const sync::Side winner = options.take == "eudora" ? sync::Side::kEudora : sync::Side::kFolder;
    one.rules.resolve = {options.record, winner};
    return Sync(one);
}

base::ExitCode Forget(const Options& options) {
    const Subjects subjects(options);
    Workplace workplace(options, Workplace::For::kLook);
    return Say(Run(subjects, workplace, options, Task::kForget), options);
}

base::ExitCode Conflicts(const Options& options) {
    const Subjects subjects(options);
    Workplace workplace(options, Workplace::For::kLook);
    return Say(Run(subjects, workplace, options, Task::kConflicts), options);
}

base::ExitCode Status(const Options& options) {
    const Subjects subjects(options);
    Workplace workplace(options, Workplace::For::kLook);
    Output output = Run(subjects, workplace, options, Task::kStatus);
    TellEudora(output, eudora::RefuseRunningEudora(workplace.Setup()),
               eudora::NamesLeadingOutside(options.setup), options.setup.followLinks);
    return Say(output, options);
}

}  // namespace host::cli
