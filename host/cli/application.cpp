#include "host/cli/application.h"

#include <algorithm>
#include <functional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "host/base/output.h"
#include "host/cli/commands.h"
#include "host/cli/configure.h"
#include "host/cli/version.h"
#include "host/shell/console.h"
#include "host/shell/shell.h"
#include "host/sync/rules.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"

namespace host::cli {

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 nothing had to be changed (and all commands that only read), 1 failed,\n"
    "2 the command line or the configuration file makes no sense, 3 refused before anything\n"
    "was touched, 4 done with changes, 5 done but conflicts wait for a decision.\n\n"
    "Keys of the configuration file: eudora, wine_prefix, contacts, maildir, state,\n"
    "nickname_file, settings, language, prefer, max_delete (texts) and code_page (a number).";

constexpr const char* kEmpty = "is empty where a path is needed";

using Action = std::function<Ending(const Options&)>;

// What the command line asks for.
struct Request {
    Options options;
    Action action;
    std::string what, name, script, toFolder, kind;
    translator::MailLimitChanges limits;
};

template <class Wanted>
void AddTextOptions(CLI::App& app, Options& options, const Wanted& wanted) {
    for (const TextOption& one : TextOptions(options)) {
        if (wanted(one.kind)) app.add_option("--" + one.name, one.value, one.help);
    }
}

void AddCommonOptions(CLI::App& app, Options& options) {
    // A leading slash begins a path, on Windows too.
    app.allow_windows_style_options(false);
    AddTextOptions(app, options,
                   [](TextOption::Kind kind) { return kind != TextOption::kWordOfSync; });
    app.get_option("--wine-prefix")->excludes(app.get_option("--eudora"));
    app.add_option("--code-page", options.setup.codePage,
                   "code page of a bare Eudora folder: 1252 (the default), 932, ...")
        ->check(CLI::Range(1, 65535));
    app.add_flag("--follow-links", options.setup.followLinks,
                 "write where links in the Eudora folder lead, also out of it");
    app.add_flag("--json", options.json, "print JSON");
    app.add_flag("--quiet", options.quiet, "print no more than has to be said");
    app.add_flag("-v,--verbose", options.verbose, "the translator's log on standard error");
    app.set_version_flag("--version", std::string("kvsync ") + kVersion);
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, Request& request,
                     Action action) {
    CLI::App* const command = app.add_subcommand(name, help);
    command->callback([&request, action = std::move(action)] { request.action = action; });
    return command;
}

void AddWhat(CLI::App* command, Request& request, bool required) {
    auto* const what = command->add_option("what", request.what, "contacts or mail");
    what->check(CLI::IsMember({"contacts", "mail"}));
    if (required) what->required();
}

void AddSync(CLI::App& app, Request& request) {
    CLI::App* const sync = AddCommand(
        app, "sync",
        "keep Eudora, the folder of vCards and the Maildir in step; without a word all "
        "that have a folder",
        request, [&request](const Options& options) { return Sync(options, request.what); });
    AddWhat(sync, request, false);
    sync->add_flag("--dry-run", request.options.setup.writesNothing,
                   "print the plan and write nothing anywhere");
    AddTextOptions(*sync, request.options,
                   [](TextOption::Kind kind) { return kind == TextOption::kWordOfSync; });
    sync->get_option("--prefer")->check(CLI::IsMember({"eudora", "folder", "newer", "both"}));
}

void AddReading(CLI::App& app, Request& request) {
    AddCommand(app, "status", "what is found, what a sync would do, what is locked", request,
               [](const Options& options) { return Status(options); });
    AddWhat(AddCommand(app, "list", "print all records, a line for each", request,
                       [&request](const Options& options) {
                           return request.what == "mail" ? ListMail(options)
                                                         : ListContacts(options);
                       }),
            request, true);
    CLI::App* const show = AddCommand(app, "show", "print one record with all its fields", request,
                                      [&request](const Options& options) {
                                          return request.what == "mail"
                                                     ? ShowMail(options, request.name)
                                                     : ShowContact(options, request.name);
                                      });
    AddWhat(show, request, true);
    show->add_option("record", request.name, "the nickname, or the id or Message-ID of a mail")
        ->required();
    CLI::App* const exporting =
        AddCommand(app, "export", "write all records into a folder, without memory", request,
                   [&request](const Options& options) {
                       return request.what == "mail" ? ExportMail(options, request.toFolder)
                                                     : ExportContacts(options, request.toFolder);
                   });
    AddWhat(exporting, request, true);
    exporting->add_option("--to", request.toFolder, "the folder")
        ->required()
        ->check([](const std::string& folder) { return folder.empty() ? kEmpty : ""; });
}

base::ExitCode Misuse(const std::string& text) {
    base::PrintError(text + " (kvsync --help shows the usage)");
    return base::ExitCode::kUsage;
}

Ending Configure(const Options& options, const Request& request) {
    if (request.what == "mail") return ConfigureMail(options, request.limits);
    if (request.limits.IsEmpty()) return ConfigureContacts(options);
    return Misuse("--age, --size, --attachments and --attachment-size belong to configure mail");
}

void AddConfigure(CLI::App& app, Request& request) {
    CLI::App* const configure = AddCommand(
        app, "configure",
        "choose the nickname file (contacts) or limit the mails (mail) in the translator's own "
        "dialog, or without one by --nickname-file or the options below",
        request, [&request](const Options& options) { return Configure(options, request); });
    configure->add_option("what", request.what, "contacts or mail")
        ->required()
        ->check(CLI::IsMember({"contacts", "mail"}));
    auto& limits = request.limits;
    configure->add_option("--age", limits.age, "mails of the last so many days, or off for all")
        ->check(WrongDays, "DAYS|off");
    configure->add_option("--size", limits.size, "mails of up to so many KB, or off for all")
        ->check(WrongSize, "KB|off");
    configure->add_option("--attachments", limits.attachments, "with attachments, or without")
        ->check(CLI::IsMember({"on", "off"}));
    configure
        ->add_option("--attachment-size", limits.attachmentSize,
                     "attachments of up to so many KB, or off for all")
        ->check(WrongSize, "KB|off");
}

void AddRest(CLI::App& app, Request& request) {
    AddConfigure(app, request);
    CLI::App* const shell =
        AddCommand(app, "shell", "a console on the translator interface", request,
                   [&request](const Options& options) {
                       return Shell(options, *shell::ParseKind(request.kind), request.script);
                   });
    shell->add_option("kind", request.kind, "contacts, mail or other")
        ->required()
        ->check(CLI::IsMember({"contacts", "mail", "other"}));
    shell->add_option("file", request.script, "the script (else standard input)");
    shell->footer(shell::ShellHelp());
    AddCommand(app, "backups", "list the copies made before Eudora's files were changed", request,
               [](const Options& options) { return ListBackups(options); });
    CLI::App* const restore =
        AddCommand(app, "restore", "put a backup back in its place", request,
                   [&request](const Options& options) { return Restore(options, request.name); });
    restore->add_option("id", request.name, "the backup, as kvsync backups lists it")->required();
    AddCommand(app, "doctor", "check the set-up and say what to do about each fault", request,
               [](const Options& options) { return Doctor(options); });
}

// What the values of the command line and of the configuration file have in common.
std::string CheckValues(Options& options) {
    // An empty path would stand for the current folder.
    for (const auto& [name, kind, value, help] : TextOptions(options)) {
        const bool isPath = kind == TextOption::kPath || kind == TextOption::kPathOfCommandLine;
        if (isPath && value && value->empty()) return name + ' ' + kEmpty;
    }
    if (options.prefer && !sync::ParsePrefer(*options.prefer)) {
        return "prefer is eudora, folder, newer or both, not " + *options.prefer;
    }
    if (options.maxDelete && !sync::ParseDeleteLimit(*options.maxDelete)) {
        return "max-delete is a number or a percentage such as 25%, not " + *options.maxDelete;
    }
    return {};
}

}  // namespace

base::ExitCode RunApplication(std::vector<std::string> arguments) {
    CLI::App app(
        "kvsync keeps the contacts and mails of Eudora in step with a folder of vCards and a "
        "Maildir.",
        "kvsync");
    Request request;
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(kFooter);
    AddCommonOptions(app, request.options);
    AddSync(app, request);
    AddReading(app, request);
    AddRest(app, request);
    std::ranges::reverse(arguments);
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer, answer);
        base::PrintText(answer.str());
        return base::ExitCode::kNothingToDo;
    } catch (const CLI::ParseError& error) {
        return Misuse(error.what());
    }
    if (!request.action) return Misuse("no command is given");
    if (auto read = ReadConfiguration(request.options); !read) {
        return Misuse(read.Error().Message());
    }
    if (const std::string wrong = CheckValues(request.options); !wrong.empty()) {
        return Misuse(wrong);
    }
    const translator::ModuleMessages messages;
    if (request.options.verbose) g_bEnableLog = 1;
    const Ending ending = request.action(request.options);
    if (ending) return *ending;
    base::PrintError(ending.Error().Message());
    return ending.Error().exit;
}

}  // namespace host::cli
