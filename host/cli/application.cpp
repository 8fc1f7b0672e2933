#include "host/cli/application.h"

#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>

#include "host/base/output.h"
#include "host/cli/backup_commands.h"
#include "host/cli/completion.h"
#include "host/cli/contact_commands.h"
#include "host/cli/mail_commands.h"
#include "host/cli/mail_export.h"
#include "host/cli/output.h"
#include "host/cli/sync_commands.h"
#include "host/cli/tool_commands.h"
#include "host/cli/version.h"
#include "host/shell/shell.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"

namespace host::cli {

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 nothing had to be changed (and all commands that only read), 1 failed,\n"
    "2 the command line or the configuration file makes no sense, 3 refused before anything\n"
    "was touched, 4 done with changes, 5 done but conflicts wait for a decision.\n\n"
    "Keys of the configuration file: eudora, wine_prefix, contacts, maildir, state,\n"
    "nickname_file, settings, language, vcard_version, backup_space, prefer, direction (texts),\n"
    "max_delete, max_add (numbers or texts), wait and code_page (numbers), substitute (true or\n"
    "false), and in place of the saved limits of mails: mail_age, mail_size, mail_attachment_size\n"
    "(numbers or \"off\") and mail_attachments (\"on\" or \"off\").";

// Adds the options of the kinds that `wanted` takes, under their names.
template <class Wanted>
void AddTextOptions(CLI::App& app, Options& options, const Wanted& wanted) {
    for (const TextOption& one : TextOptions(options)) {
        if (!wanted(one.kind)) continue;
        app.add_option("--" + one.name, one.value, one.help)
            ->type_name(one.IsPath() ? "PATH" : "TEXT");
    }
}

// What a command works on, besides Eudora: its help shows the options that say it.
enum class On { kEudora, kBook, kFolders };

// The options that every command takes, in front of it or behind it.
void AddCommonOptions(CLI::App& app, Options& options, On on) {
    // A leading slash begins a path, on Windows too.
    app.allow_windows_style_options(false);
    AddTextOptions(app, options, [on](TextOption::Kind kind) {
        if (kind == TextOption::kBook) return on != On::kEudora;
        if (kind == TextOption::kFolder) return on == On::kFolders;
        return kind <= TextOption::kWord;
    });
    app.add_option("--code-page", options.setup.codePage,
                   "code page of a bare Eudora folder: 1252 (the default), 932, ...")
        ->type_name("N")
        ->check(CLI::Range(1, 65535).description(""));
    app.add_flag("--follow-links", options.setup.followLinks,
                 "write where links in the Eudora folder lead, also out of it");
    app.add_flag("--json", options.json, "print JSON");
    app.add_flag("--quiet", options.quiet, "print no more than has to be said");
    app.add_flag("-v,--verbose", options.verbose,
                 "tell more, and the translator's log on standard error");
}

// Whether a command takes the word "contacts" or "mail".
enum class Word { kNone, kOptional, kRequired };

void AddWord(CLI::App& command, Options& options, Word word) {
    if (word == Word::kNone) return;
    command.add_option("what", options.what, "contacts or mail")
        ->required(word == Word::kRequired)
        ->check(CLI::IsMember({"contacts", "mail"}));
}

void AddSyncOptions(CLI::App& command, Options& options) {
    command.add_flag("--dry-run", options.setup.writesNothing,
                     "print the plan and write nothing anywhere");
    AddTextOptions(command, options, [](TextOption::Kind kind) {
        return kind == TextOption::kWordOfSync || kind == TextOption::kWordOfRun;
    });
    command.add_flag("--refetch", options.rules.refetch,
                     "make the files that came from Eudora's mails once more, with all that this "
                     "version takes over");
    command.add_flag("--substitute", options.rules.substitute,
                     "send a mail with ? for the characters that Eudora's code page lacks, instead "
                     "of letting it wait");
}

void AddConflict(CLI::App& command, Options& options) {
    command.add_option("name", options.record, "the conflict, as kvsync conflicts names it")
        ->required();
    command.add_option("--take", options.take, "the side that wins: eudora or folder")
        ->required()
        ->check(CLI::IsMember({"eudora", "folder"}));
    AddTextOptions(command, options,
                   [](TextOption::Kind kind) { return kind == TextOption::kWordOfRun; });
}

void AddForget(CLI::App& command, Options& options) {
    command.add_flag("--yes", options.yes, "without a question");
}

void AddMailbox(CLI::App& command, Options& options) {
    command.add_option("--mailbox", options.mailboxes, "of mails: the mailbox (else the in-box)")
        ->expected(1)
        ->type_name("NAME");
}

void AddRecord(CLI::App& command, Options& options) {
    AddMailbox(command, options);
    command
        .add_option("record", options.record,
                    "the nickname, name or address of a contact, or the id or Message-ID of a mail")
        ->required();
}

void AddList(CLI::App& command, Options& options) {
    command.add_flag("--all", options.all, "of mails those too that the limits hide");
    AddMailbox(command, options);
}

// The limits of mails: each option changes its own.
void AddLimits(CLI::App& command, Options& options) {
    auto& limits = options.limits;
    command.add_option("--age", limits.age, "mails of the last so many days, or off for all")
        ->check(WrongDays, "DAYS|off");
    command.add_option("--size", limits.size, "mails of up to so many KB, or off for all")
        ->check(WrongSize, "KB|off");
    command.add_option("--attachments", limits.attachments, "with attachments, or without")
        ->check(WrongSwitch, "on|off");
    command
        .add_option("--attachment-size", limits.attachmentSize,
                    "attachments of up to so many KB, or off for all")
        ->check(WrongSize, "KB|off");
}

void AddConfigure(CLI::App& command, Options& options) {
    AddLimits(command, options);
    command.add_flag("--show", options.show, "print the limits of mails and change nothing");
}

void AddExport(CLI::App& command, Options& options) {
    command.add_option("--to", options.toFolder, "the folder")
        ->required()
        ->check([](const std::string& folder) { return folder.empty() ? kEmptyPath : ""; });
    command
        .add_option("--mailbox", options.mailboxes,
                    "of mails: this mailbox, each with the option in front (else all)")
        ->allow_extra_args(false)
        ->type_name("NAME");
    command
        .add_option(
            "--format", options.format,
            "of mails: maildir (the default), mbox (a file for each mailbox) or eml (a file "
            "for each mail)")
        ->check(CLI::IsMember({"maildir", "mbox", "eml"}));
    AddLimits(command, options);
}

void AddScript(CLI::App& command, Options& options) {
    command.add_option("kind", options.what, "contacts, mail or other")
        ->required()
        ->check(CLI::IsMember({"contacts", "mail", "other"}));
    command.add_option("file", options.script, "the script (else standard input)");
    command.footer(shell::ShellHelp());
}

void AddBackups(CLI::App& command, Options& options) {
    auto* const show = command.add_option("--show", options.record, "the files of this backup");
    command.add_flag("--prune", options.prune, "remove those that are too old or too much now")
        ->excludes(show);
}

void AddBackup(CLI::App& command, Options& options) {
    command.add_option("id", options.record, "the backup, as kvsync backups lists it")->required();
    command.add_option("--only", options.what, "put back its contacts or its mail alone")
        ->check(CLI::IsMember({"contacts", "mail"}));
}

void AddRebuild(CLI::App& command, Options& options) {
    command.add_option("mailbox", options.record, "the mailbox, as kvsync mailboxes names it")
        ->required();
    command.add_flag("--dry-run", options.setup.writesNothing, "tell what it would come to");
}

void AddShell(CLI::App& command, Options& options) {
    command.add_option("shell", options.what, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
}

using Run = base::ExitCode (*)(const Options&);

// A command, the words and options that it alone takes (null for none), and what it does: `runMail`
// if it is about mails and differs.
struct Command {
    const char *name, *help;
    On on;
    Word word;
    void (*addOptions)(CLI::App& command, Options& options);
    Run run, runMail = nullptr;
};

constexpr Command kCommands[] = {
    {"sync",
     "keep Eudora, the folder of vCards and the Maildir in step; without a word all that have a "
     "folder",
     On::kFolders, Word::kOptional, AddSyncOptions, Sync},
    {"status", "what is found, what a sync would do, what is locked", On::kFolders, Word::kNone,
     nullptr, Status},
    {"conflicts", "what both sides changed and waits for a decision, with both values",
     On::kFolders, Word::kOptional, nullptr, Conflicts},
    {"resolve", "settle one conflict for one side", On::kFolders, Word::kNone, AddConflict,
     Resolve},
    {"forget", "forget what was in step: the next sync pairs both sides anew and removes nothing",
     On::kFolders, Word::kRequired, AddForget, Forget},
    {"list", "print the records, a line for each", On::kBook, Word::kRequired, AddList,
     ListContacts, ListMail},
    {"show", "print one record with all its fields", On::kBook, Word::kRequired, AddRecord,
     ShowContact, ShowMail},
    {"mailboxes",
     "print the mailboxes of Eudora's folder, what each holds and what is wrong with it",
     On::kEudora, Word::kNone, nullptr, Mailboxes},
    {"rebuild",
     "make the table of a mailbox anew from its text, after a backup: what still fits of the old "
     "one "
     "stays, removed mails come back",
     On::kEudora, Word::kNone, AddRebuild, Rebuild},
    {"export",
     "write all records into a folder, without memory; of mails fewer with the limits below",
     On::kBook, Word::kRequired, AddExport, ExportContacts, ExportMail},
    {"configure",
     "choose the nickname file (contacts) or limit the mails (mail) in the translator's own "
     "dialog, or without one by --nickname-file or the options below",
     On::kBook, Word::kRequired, AddConfigure, ConfigureContacts, ConfigureMail},
    {"shell", "a console on the translator interface", On::kBook, Word::kNone, AddScript, Shell},
    {"backups", "list the copies made before files were changed or removed", On::kEudora,
     Word::kNone, AddBackups, ListBackups},
    {"restore", "put a backup back in its place", On::kEudora, Word::kNone, AddBackup, Restore},
    {"doctor", "check the set-up and say what to do about each fault", On::kFolders, Word::kNone,
     nullptr, Doctor},
    {"completion", "print the completion of this command line for a shell: bash, zsh or fish",
     On::kEudora, Word::kNone, AddShell, nullptr}};

// Parses the arguments, completes them from the configuration file and runs the command. What is
// wrong with them is thrown: by the parser as its own errors, else as a Misuse.
base::ExitCode Act(CLI::App& app, std::vector<std::string> arguments, Options& options) {
    const Command* asked = nullptr;
    for (const Command& command : kCommands) {
        CLI::App* const added = app.add_subcommand(command.name, command.help);
        AddWord(*added, options, command.word);
        if (command.addOptions != nullptr) command.addOptions(*added, options);
        AddCommonOptions(*added, options, command.on);
        added->callback([&asked, &command] { asked = &command; });
    }
    std::ranges::reverse(arguments);
    app.parse(std::move(arguments));
    if (asked == nullptr) throw Misuse("no command is given");
    if (asked->run == nullptr) return PrintCompletion(app, options);
    ReadConfiguration(options);
    const translator::ModuleMessages messages;
    if (options.verbose) g_bEnableLog = 1;
    const bool isMail = asked->runMail != nullptr && options.what == "mail";
    return isMail ? asked->runMail(options) : asked->run(options);
}

}  // namespace

base::ExitCode RunApplication(std::vector<std::string> arguments) {
    CLI::App app(
        "kvsync keeps the contacts and mails of Eudora in step with a folder of vCards and a "
        "Maildir.",
        "kvsync");
    Options options;
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(kFooter);
    AddCommonOptions(app, options, On::kFolders);
    app.set_version_flag("--version", std::string("kvsync ") + kVersion);
    std::string misuse;
    // An option behind one that makes no sense is not parsed.
    const bool asksForJson = std::ranges::find(arguments, "--json") != arguments.end();
    try {
        return Act(app, std::move(arguments), options);
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer, answer);
        base::PrintText(answer.str());
        return base::ExitCode::kNothingToDo;
    } catch (const CLI::ParseError& error) {
        misuse = error.what();
    } catch (const Ended& ended) {
        if (ended.failure.exit != base::ExitCode::kUsage) {
            return Say(RefusalOutput(ended.failure), options);
        }
        misuse = ended.failure.Message();
    }
    options.json = asksForJson;
    return Say(RefusalOutput({base::ExitCode::kUsage, misuse + " (kvsync --help shows the usage)"}),
               options);
}

}  // namespace host::cli
