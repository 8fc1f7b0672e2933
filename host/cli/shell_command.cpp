#include <fstream>
#include <iostream>

#include "host/base/paths.h"
#include "host/cli/commands.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/eudora/outside_names.h"
#include "host/shell/shell.h"
#include "host/translator/module_messages.h"
#include "platform/kvutil/kvutil.h"

namespace host::cli {

Ending Shell(const Options& options, unsigned long kind, const std::string& script) {
    std::ifstream file;
    if (!script.empty()) {
        file.open(base::ToPath(script), std::ios::binary);
        std::error_code ignored;
        if (!file || std::filesystem::is_directory(base::ToPath(script), ignored)) {
            return base::Refused("the script " + script + " cannot be read", "check the path");
        }
    }
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return inside.Error();
    }
    auto workplace = kind == translator::kMailKind ? Workplace::EnterForMail(options)
                                                   : Workplace::Enter(options);
    if (!workplace) return workplace.Error();
    auto console = shell::Console::Create(workplace->Module(), kind);
    if (!console) return console.Error();
    const auto dialogs = dialogs::MakeTerminalDialogs();
    const translator::DialogsShownBy shown(dialogs != nullptr ? dialogs.get() : DialogProvider());
    shell::RunShell(*console, script.empty() ? std::cin : file);
    return base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
