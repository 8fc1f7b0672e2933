#include "host/cli/workplace.h"

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/eudora/nickname_file.h"
#include "host/translator/in_box.h"
#include "host/translator/module_messages.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

Workplace::Workplace(const Options& options, For use)
    : m_options(options.setup), m_setup(OrEnd(eudora::Prepare(options.setup))) {
    if (use == For::kMail && base::UsesWindowsPaths()) {
        OrEnd(eudora::RefuseMailsElsewhere(m_setup));
    } else if (use != For::kLook) {
        OrEnd(eudora::RefuseRunningEudora(m_setup));
    }
    m_host = OrEnd(translator::TranslatorHost::Start(m_setup.init));
}

std::string Workplace::NicknameFile(bool forWriting) {
    auto chosen = OrEnd(eudora::ChooseNicknameFile(m_options, m_setup));
    if (chosen.empty()) {
        auto session =
            OrEnd(translator::TranslatorSession::Create(*m_host, translator::kContactsKind));
        // A missing default file is told below, in the words of all other missing files.
        if (!session.Select(chosen)) chosen = m_setup.eudoraFolder + "\\nndbase.txt";
    }
    OrEnd(eudora::CheckNicknameFile(chosen, forWriting));
    return chosen;
}

translator::TranslatorSession Workplace::OpenContacts() {
    return OrEnd(translator::TranslatorSession::OpenContacts(*m_host, NicknameFile(false)));
}

contactsync::EudoraPlace Workplace::Contacts(bool forWriting) {
    const std::string file = NicknameFile(forWriting);
    const auto native = platform::NativePathOf(file);
    if (!native) throw Ended(base::Refused("no drive leads to " + base::ToUtf8(file)));
    const auto open = [host = m_host.get(), file] {
        return translator::TranslatorSession::OpenContacts(*host, file);
    };
    return {open, *native, platform::NativeSystem().codePage};
}

base::Result<translator::TranslatorSession> Workplace::SelectInBox(std::string& selection) {
    return translator::SelectInBox(*m_host, m_setup, m_options.writesNothing, selection);
}

translator::TranslatorSession Workplace::OpenMail() {
    std::string selection;
    auto session = OrEnd(SelectInBox(selection));
    OrEnd(session.Open());
    return session;
}

bool SelectInDialog(translator::TranslatorSession& session, std::string& selection,
                    const std::string& otherwise) {
    const auto dialogs = dialogs::MakeTerminalDialogs();
    if (dialogs == nullptr && !base::UsesWindowsPaths()) {
        throw Ended(base::Refused("kvsync configure needs a terminal for its dialog",
                                  "start it in one, or " + otherwise));
    }
    const translator::DialogsShownBy shown(dialogs.get());
    return OrEnd(session.Select(selection, true));
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    base::ShowProgress(line);
    m_shown = line;
}

sync::CommandPlace PlaceOf(const Options& options, ProgressLine& progress) {
    const std::string state =
        options.state ? *options.state
                      : base::FromPath(base::ToPath(OrEnd(eudora::StateFolder())) / "state.db");
    return {platform::NativeFiles(), platform::NativeSystem().clock, state,
            [&progress](const std::string& line) { progress.Show(line); }};
}

}  // namespace host::cli
