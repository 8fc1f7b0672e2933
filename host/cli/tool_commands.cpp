#include "host/cli/tool_commands.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/doctor/doctor.h"
#include "host/eudora/outside_names.h"
#include "host/mailsync/mail_sync.h"
#include "host/shell/shell.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/program.h"
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

}  // namespace host::cli
