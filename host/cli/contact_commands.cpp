#include <fstream>
#include <iostream>

#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "host/base/output.h"
#include "host/cli/commands.h"
#include "host/cli/contact_table.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/eudora/nickname_file.h"
#include "host/eudora/outside_names.h"
#include "host/shell/shell.h"
#include "host/translator/mail_settings.h"
#include "platform/kvutil/kvutil.h"

namespace host::cli {

namespace {

base::Result<translator::TranslatorSession> OpenChosen(Workplace& place) {
    auto file = place.NicknameFile(false);
    if (!file) return file.Error();
    return translator::TranslatorSession::OpenContacts(place.Module(), *file);
}

base::Status Choose(Workplace& place, const Options& options, std::string& selection,
                    std::string& summary, bool& chosen) {
    auto session = translator::TranslatorSession::Create(place.Module(), translator::kContactsKind);
    if (!session) return session.Error();
    auto named = eudora::ChooseNicknameFile(options.setup, place.Place());
    if (!named) return named.Error();
    selection = *named;
    const bool ask = !options.setup.nicknameFile;
    std::unique_ptr<platform::Dialogs> dialogs;
    if (ask && !base::UsesWindowsPaths()) {
        dialogs = dialogs::MakeTerminalDialogs();
        if (dialogs == nullptr) {
            return base::Refused(
                "kvsync configure needs a terminal for its dialog: start it in one, or "
                "name the file with --nickname-file FILE");
        }
    }
    const translator::DialogsShownBy shown(dialogs.get());
    auto selected = session->Select(selection, summary, ask);
    if (!selected) return selected.Error();
    chosen = *selected;
    return {};
}

}  // namespace

base::ExitCode ListContacts(const Options& options) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto session = OpenChosen(*place);
    if (!session) return Fail(session.Error());
    const auto contacts = ReadContacts(*session);
    if (!contacts) return Fail(contacts.Error());
    if (options.json) {
        base::PrintText(ContactsJson(*contacts));
    } else {
        base::PrintText(ContactTable(*contacts));
    }
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ShowContact(const Options& options, const std::string& nickname) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto session = OpenChosen(*place);
    if (!session) return Fail(session.Error());
    const auto contacts = ReadContact(*session, nickname);
    if (!contacts) return Fail(contacts.Error());
    if (contacts->empty()) {
        return Fail(base::Refused("there is no contact " + nickname +
                                  ": kvsync list contacts shows the nicknames"));
    }
    if (options.json) {
        base::PrintText(ContactJson(contacts->front()));
    } else {
        base::PrintText(ContactCard(contacts->front()));
    }
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ConfigureContacts(const Options& options) {
    auto place = Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    std::string selection, summary;
    bool chosen = false;
    if (auto asked = Choose(*place, options, selection, summary, chosen); !asked) {
        return Fail(asked.Error());
    }
    if (!chosen) {
        if (!options.quiet) base::PrintLine("nothing changed");
        return base::ExitCode::kNothingToDo;
    }
    if (auto checked = eudora::CheckNicknameFile(selection, false); !checked)
        return Fail(checked.Error());
    const auto opened = translator::TranslatorSession::OpenContacts(place->Module(), selection);
    if (!opened) return Fail(opened.Error());
    if (auto kept = eudora::RememberNicknameFile(place->Place(), selection); !kept) {
        return Fail(kept.Error());
    }
    if (!options.quiet) base::PrintLine("contacts are kept in " + base::ToUtf8(selection));
    return base::ExitCode::kChangesMade;
}

base::ExitCode Shell(const Options& options, unsigned long kind, const std::string& script) {
    std::ifstream file;
    if (!script.empty()) {
        file.open(base::ToPath(script), std::ios::binary);
        std::error_code ignored;
        if (!file || std::filesystem::is_directory(base::ToPath(script), ignored)) {
            return Fail(base::Refused("the script " + script + " cannot be read: check the path"));
        }
    }
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    auto place = kind == translator::kMailKind ? Workplace::EnterForMail(options)
                                               : Workplace::Enter(options);
    if (!place) return Fail(place.Error());
    auto console = shell::Console::Create(place->Module(), kind);
    if (!console) return Fail(console.Error());
    const auto dialogs = dialogs::MakeTerminalDialogs();
    const translator::DialogsShownBy shown(dialogs != nullptr ? dialogs.get() : DialogProvider());
    shell::RunShell(*console, script.empty() ? std::cin : file);
    return base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
