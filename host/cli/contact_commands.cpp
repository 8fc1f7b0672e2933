#include <fstream>
#include <iostream>

#include "host/cli/commands.h"
#include "host/cli/contact_table.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/module/mail_settings.h"
#include "host/module/native_path.h"
#include "host/module/outside_names.h"
#include "host/module/windows_path.h"
#include "host/output/output.h"
#include "host/shell/shell.h"
#include "platform/kvutil/kvutil.h"

namespace host {

namespace {

platform::Result<TranslatorSession> OpenChosen(Workplace& place) {
    auto file = place.NicknameFile(false);
    if (!file) return file.Error();
    return TranslatorSession::OpenContacts(place.Module(), *file);
}

platform::Status Choose(Workplace& place, const Options& options, std::string& selection,
                        std::string& summary, bool& chosen) {
    auto session = TranslatorSession::Create(place.Module(), kContactsKind);
    if (!session) return session.Error();
    auto named = ChooseNicknameFile(options.setup, place.Place());
    if (!named) return named.Error();
    selection = *named;
    const bool ask = !options.setup.nicknameFile;
    std::unique_ptr<platform::Dialogs> dialogs;
    if (ask && !UsesWindowsPaths()) {
        dialogs = MakeTerminalDialogs();
        if (dialogs == nullptr) {
            return Refused(
                "kvsync configure needs a terminal for its dialog: start it in one, or "
                "name the file with --nickname-file FILE");
        }
    }
    const DialogsShownBy shown(dialogs.get());
    auto selected = session->Select(selection, summary, ask);
    if (!selected) return selected.Error();
    chosen = *selected;
    return {};
}

}  // namespace

ExitCode ListContacts(const Options& options) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto session = OpenChosen(*place);
    if (!session) return Fail(session.Error());
    const auto contacts = ReadContacts(*session);
    if (!contacts) return Fail(contacts.Error());
    if (options.json) {
        PrintText(ContactsJson(*contacts));
    } else {
        PrintText(ContactTable(*contacts));
    }
    return ExitCode::kNothingToDo;
}

ExitCode ShowContact(const Options& options, const std::string& nickname) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto session = OpenChosen(*place);
    if (!session) return Fail(session.Error());
    const auto contacts = ReadContact(*session, nickname);
    if (!contacts) return Fail(contacts.Error());
    if (contacts->empty()) {
        return Fail(Refused("there is no contact " + nickname +
                            ": kvsync list contacts shows the nicknames"));
    }
    if (options.json) {
        PrintText(ContactJson(contacts->front()));
    } else {
        PrintText(ContactCard(contacts->front()));
    }
    return ExitCode::kNothingToDo;
}

ExitCode ConfigureContacts(const Options& options) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    std::string selection, summary;
    bool chosen = false;
    if (auto asked = Choose(*place, options, selection, summary, chosen); !asked) {
        return Fail(asked.Error());
    }
    if (!chosen) {
        if (!options.quiet) PrintLine("nothing changed");
        return ExitCode::kNothingToDo;
    }
    if (auto checked = CheckNicknameFile(selection, false); !checked) return Fail(checked.Error());
    const auto opened = TranslatorSession::OpenContacts(place->Module(), selection);
    if (!opened) return Fail(opened.Error());
    if (auto kept = RememberNicknameFile(place->Place(), selection); !kept) {
        return Fail(kept.Error());
    }
    if (!options.quiet) PrintLine("contacts are kept in " + ToUtf8(selection));
    return ExitCode::kChangesMade;
}

ExitCode Shell(const Options& options, unsigned long kind, const std::string& script) {
    std::ifstream file;
    if (!script.empty()) {
        file.open(ToPath(script), std::ios::binary);
        std::error_code ignored;
        if (!file || std::filesystem::is_directory(ToPath(script), ignored)) {
            return Fail(Refused("the script " + script + " cannot be read: check the path"));
        }
    }
    if (auto inside = RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    auto place = kind == kMailKind ? Workplace::EnterForMail(options) : Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto console = Console::Create(place->Module(), kind);
    if (!console) return Fail(console.Error());
    const auto dialogs = MakeTerminalDialogs();
    const DialogsShownBy shown(dialogs != nullptr ? dialogs.get() : DialogProvider());
    RunShell(*console, script.empty() ? std::cin : file);
    return ExitCode::kNothingToDo;
}

}  // namespace host
