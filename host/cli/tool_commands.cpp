#include "host/cli/tool_commands.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/doctor/doctor.h"
#include "host/eudora/outside_names.h"
#include "host/mailsync/mail_sync.h"
#include "host/shell/shell.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

// By health.
constexpr const char* kWords[] = {"good", "note", "FAULT", "FAULT"};
constexpr const char* kKeys[] = {"good", "note", "fault", "fault"};

// The findings as one object.
void PrintJson(const std::vector<doctor::Finding>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const doctor::Finding& finding : findings) {
        list.push_back({{"health", kKeys[static_cast<int>(finding.health)]},
                        {"what", finding.what},
                        {"state", finding.state},
                        {"advice", finding.advice}});
    }
    base::PrintText(base::JsonText({{"findings", std::move(list)}}, 2));
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
    OrEnd(shell::RunShell(workplace.Module(), kind, options.script.empty() ? std::cin : file));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode Doctor(const Options& options) {
    const auto findings =
        doctor::Examine(options.setup, {options.contacts, options.maildir, options.state});
    if (options.json) {
        PrintJson(findings);
    } else {
        for (const doctor::Finding& finding : findings) {
            if (options.quiet && finding.health == doctor::Health::kGood) continue;
            base::PrintLine(std::string(kWords[static_cast<int>(finding.health)]) + "  " +
                            finding.what + ": " + finding.state);
            if (!finding.advice.empty()) base::PrintLine("       -> " + finding.advice);
        }
    }
    switch (std::ranges::max(findings, {}, &doctor::Finding::health).health) {
        case doctor::Health::kBroken:
            return base::ExitCode::kFailed;
        case doctor::Health::kFault:
            return base::ExitCode::kRefused;
        default:
            return base::ExitCode::kNothingToDo;
    }
}

}  // namespace host::cli
