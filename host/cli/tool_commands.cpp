#include "host/cli/tool_commands.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/doctor/doctor.h"
#include "host/doctor/mailbox_look.h"
#include "host/eudora/mailboxes.h"
#include "host/eudora/outside_names.h"
#include "host/mailsync/mail_sync.h"
#include "host/shell/shell.h"
#include "host/state/folder_mark.h"
#include "host/state/state_file.h"
#include "host/sync/rules.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/program.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

// By health.
constexpr const char* kWords[] = {"good", "note", "FAULT", "FAULT"};
constexpr const char* kKeys[] = {"good", "note", "fault", "fault"};

// The findings as a list of objects.
nlohmann::json ToJson(const std::vector<doctor::Finding>& findings) {
    auto list = nlohmann::json::array();
    for (const doctor::Finding& finding : findings) {
        list.push_back({{"health", kKeys[static_cast<int>(finding.health)]},
                        {"what", finding.what},
                        {"state", finding.state},
                        {"advice", finding.advice}});
    }
    return list;
}

// The columns of `kvsync mailboxes`; a number that cannot be told is "?".
std::string MailboxLine(const std::string& name, const std::string& inTable,
                        const std::string& inText, const std::string& unread,
                        const std::string& size, std::size_t nameWidth) {
    const auto right = [](const std::string& text, std::size_t width) {
        return std::string(width - std::min(width, base::Width(text)), ' ') + text;
    };
    return base::Padded(name, nameWidth) + right(inTable, 9) + right(inText, 9) + right(unread, 9) +
           right(size, 12);
}

nlohmann::json NumberOrNull(const std::optional<std::uint64_t>& number) {
    return number ? nlohmann::json(*number) : nlohmann::json();
}

}  // namespace

base::ExitCode Shell(const Options& options) {
    const auto kind = *shell::ParseKind(options.what);
    std::ifstream file;
    if (!options.script.empty()) {
        const auto path = base::ToPath(options.script);
        file.open(path, std::ios::binary);
        std::error_code ignored;
        if (!file || std::filesystem::is_directory(path, ignored)) {
            throw Ended(base::Refused("the script " + options.script + " cannot be read",
                                      "check the path"));
        }
    }
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    const bool isMail = kind == translator::kMailKind;
    Workplace workplace(options, isMail ? Workplace::For::kMail : Workplace::For::kWork);
    const auto dialogs = dialogs::MakeTerminalDialogs();
    const translator::DialogsShownBy shown(dialogs != nullptr ? dialogs.get() : DialogProvider());
    const std::string book = options.setup.nicknameFile ? workplace.NicknameFile() : "";
    auto lines = shell::LinesOf(options.script.empty() ? std::cin : file);
    // On Windows a device that is no terminal counts as one.
    if (options.script.empty() && platform::IsTerminal(platform::Stream::kInput) &&
        platform::IsTerminal(platform::Stream::kOutput)) {
        lines = shell::LinesOfTerminal();
        base::PrintError(
            "the shell makes no backup of what it changes; its operations are in "
            "kvsync shell --help, and Ctrl+D ends it");
    }
    OrEnd(shell::RunShell(workplace.Module(), kind, book, lines));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode Doctor(const Options& options) {
    const auto findings =
        doctor::Examine(options.setup, {options.contacts, options.maildir, options.state});
    constexpr base::ExitCode kCodes[] = {base::ExitCode::kNothingToDo, base::ExitCode::kNothingToDo,
                                         base::ExitCode::kRefused, base::ExitCode::kFailed};
    Output output;
    for (const doctor::Finding& finding : findings) {
        if (options.quiet && finding.health == doctor::Health::kGood) continue;
        output.lines.push_back(std::string(kWords[static_cast<int>(finding.health)]) + "  " +
                               finding.what + ": " + finding.state);
        if (!finding.advice.empty()) output.lines.push_back("       -> " + finding.advice);
    }
    const auto worst = std::ranges::max(findings, {}, &doctor::Finding::health).health;
    output.code = kCodes[static_cast<int>(worst)];
    output.Finish({{"findings", ToJson(findings)}});
    return Say(output, options);
}

base::ExitCode Mailboxes(const Options& options) {
    eudora::SetupOptions reading = options.setup;
    reading.writesNothing = true;
    const auto setup = OrEnd(eudora::Prepare(reading));
    auto& files = platform::NativeFiles();
    const auto tree = eudora::FindMailboxes(
        files, setup.nativeFolder, platform::NativeSystem().codePage, options.setup.followLinks);
    std::size_t width = 8;
    for (const auto& mailbox : tree.mailboxes) {
        width = std::max(width, base::Width(base::OneLine(mailbox.Name())));
    }
    Output output{base::ExitCode::kNothingToDo, {}, tree.notes};
    output.lines.push_back(MailboxLine("mailbox", "in table", "in text", "unread", "size", width));
    auto list = nlohmann::json::array();
    ProgressLine shown(!options.quiet);
    base::Progress progress(platform::NativeSystem().clock,
                            [&](const std::string& line) { shown.Show(line); });
    for (const auto& mailbox : tree.mailboxes) {
        progress.Step("looking at mailbox", list.size() + 1, tree.mailboxes.size());
        auto look = doctor::LookAt(files, mailbox.text, mailbox.table);
        if (mailbox.isUnlisted) look.faults.emplace_back("descmap.pce does not name it");
        if (look.isUnreadable) output.code = base::ExitCode::kFailed;
        const auto told = [](const std::optional<std::uint64_t>& number) {
            return number ? std::to_string(*number) : std::string("?");
        };
        output.lines.push_back(MailboxLine(base::OneLine(mailbox.Name()), told(look.inTable),
                                           told(look.inText), told(look.unread),
                                           SizeText(look.bytes), width));
        for (const std::string& fault : look.faults) output.lines.push_back("  -> " + fault);
        list.push_back({{"name", mailbox.Name()},
                        {"file", mailbox.place},
                        {"inTable", NumberOrNull(look.inTable)},
                        {"inText", NumberOrNull(look.inText)},
                        {"unread", NumberOrNull(look.unread)},
                        {"bytes", look.bytes},
                        {"faults", look.faults}});
    }
    shown.Show({});
    if (tree.mailboxes.empty()) {
        output.lines = {"there is no mailbox in " + setup.eudoraShown};
    }
    output.Finish({{"mailboxes", std::move(list)}});
    return Say(output, options);
}

base::ExitCode Rebuild(const Options& options) {
    OrEnd(eudora::RefuseNamesLeadingOutside(options.setup));
    const auto setup = OrEnd(eudora::Prepare(options.setup));
    OrEnd(eudora::RefuseRunningEudora(setup));
    auto& files = platform::NativeFiles();
    const unsigned codePage = platform::NativeSystem().codePage;
    const auto tree =
        eudora::FindMailboxes(files, setup.nativeFolder, codePage, options.setup.followLinks);
    const auto* const mailbox = eudora::FindByName(tree, options.record);
    if (mailbox == nullptr) throw Ended(eudora::NoSuchMailbox(setup, options.record));
    ProgressLine progress(false);
    auto command = ContextOf(options, progress);
    command.eudoraFolder = platform::NativePathOf(setup.eudoraFolder).value_or("");
    command.eudoraLock = base::PathIn(files, setup.memoryFolder, "lock");
    const bool writes = !options.setup.writesNothing;
    for (const std::string& path : {command.stateFile, command.eudoraLock}) {
        if (writes) OrEnd(base::MakeOwnFolders(base::ParentFolder(files, path)));
    }
    const auto stateLock = OrEnd(state::LockState(files, command.stateFile, writes));
    const auto lock = OrEnd(state::Lock::Take(files, command.eudoraLock, writes));
    const auto made = OrEnd(eudora::RebuildTable(files, *mailbox, codePage));
    if (!made.isOld && writes) {
        // Its backup tells how long the text was: a restore puts the old table beside that alone.
        std::vector<std::string> passedOver;
        OrEnd(sync::BackUp(command, {mailbox->text, {}},
                           {{mailbox->table}, {mailbox->text, backup::Kind::kGrowing}},
                           "before rebuilding " + mailbox->Name(), passedOver));
        OrEnd<void, base::Failure>(platform::WriteWhole(files, mailbox->table, made.toc.bytes));
        // What the table lost may be in the Maildir alone: the next sync pairs both sides anew.
        const auto inBox = platform::NativePathOf(setup.eudoraFolder + "\\In.mbx");
        if (mailbox->IsInBox() && inBox) {
            OrEnd(state::ForgetEudora(files, command.stateFile, *inBox));
        }
    }
    Output output;
    const auto& toc = made.toc;
    std::string line =
        mailbox->Name() + ": " + base::Counted(toc.kept + toc.made, "mail") + " in its text, ";
    if (made.isOld) {
        line += "and its table tells just them";
    } else {
        output.code = base::ExitCode::kChangesMade;
        line += std::to_string(toc.kept) + " as the table told them, " + std::to_string(toc.made) +
                " anew; of " + base::Counted(toc.lost, "mail") + " in the table no text is left";
    }
    output.lines.push_back(std::move(line));
    output.Finish(
        {{"mailbox", mailbox->Name()}, {"kept", toc.kept}, {"made", toc.made}, {"lost", toc.lost}});
    return Say(output, options);
}

}  // namespace host::cli
