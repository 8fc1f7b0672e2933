#include "host/cli/workplace.h"

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/eudora/nickname_file.h"
#include "host/translator/in_box.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

base::Result<Workplace> Workplace::Enter(const Options& options, bool mayRun) {
    auto setup = eudora::Prepare(options.setup);
    if (!setup) return setup.Error();
    if (!mayRun) {
        if (auto stopped = eudora::RefuseRunningEudora(*setup); !stopped) return stopped.Error();
    }
    return Start(options, *std::move(setup));
}

base::Result<Workplace> Workplace::EnterForMail(const Options& options) {
    auto setup = eudora::Prepare(options.setup);
    if (!setup) return setup.Error();
    auto ready = base::UsesWindowsPaths() ? eudora::RefuseMailsElsewhere(*setup)
                                          : eudora::RefuseRunningEudora(*setup);
    if (!ready) return ready.Error();
    return Start(options, *std::move(setup));
}

base::Result<Workplace> Workplace::Start(const Options& options, eudora::Setup setup) {
    auto host = translator::TranslatorHost::Start(setup.init);
    if (!host) return host.Error();
    Workplace workplace;
    workplace.m_setup = std::move(setup);
    workplace.m_options = options.setup;
    workplace.m_host = *std::move(host);
    return workplace;
}

base::Result<std::string> Workplace::NicknameFile(bool forWriting) {
    auto chosen = eudora::ChooseNicknameFile(m_options, m_setup);
    if (!chosen) return chosen.Error();
    if (chosen->empty()) {
        auto session = translator::TranslatorSession::Create(*m_host, translator::kContactsKind);
        if (!session) return session.Error();
        // A missing default file is told below, in the words of all other missing files.
        if (auto selected = session->Select(*chosen); !selected) {
            *chosen = m_setup.eudoraFolder + "\\nndbase.txt";
        }
    }
    if (auto checked = eudora::CheckNicknameFile(*chosen, forWriting); !checked)
        return checked.Error();
    return *chosen;
}

base::Result<contactsync::EudoraPlace> Workplace::Contacts(bool forWriting) {
    const auto file = NicknameFile(forWriting);
    if (!file) return file.Error();
    const auto native = platform::NativePathOf(*file);
    if (!native) return base::Refused("no drive leads to " + base::ToUtf8(*file));
    const auto open = [host = m_host.get(), file = *file] {
        return translator::TranslatorSession::OpenContacts(*host, file);
    };
    return contactsync::EudoraPlace{open, *native, platform::NativeSystem().codePage};
}

base::Result<translator::TranslatorSession> Workplace::SelectInBox(std::string& selection) {
    return translator::SelectInBox(*m_host, m_setup, m_options.writesNothing, selection);
}

base::Result<translator::TranslatorSession> Workplace::OpenMail() {
    std::string selection;
    auto session = SelectInBox(selection);
    if (!session) return session.Error();
    if (auto opened = session->Open(); !opened) return opened.Error();
    return session;
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    base::ShowProgress(line);
    m_shown = line;
}

base::Result<sync::CommandPlace> PlaceOf(const Options& options, ProgressLine& progress) {
    std::string state;
    if (options.state) {
        state = *options.state;
    } else {
        auto folder = eudora::StateFolder();
        if (!folder) return folder.Error();
        state = base::FromPath(base::ToPath(*folder) / "state.db");
    }
    return sync::CommandPlace{platform::NativeFiles(), platform::NativeSystem().clock, state,
                              [&progress](const std::string& line) { progress.Show(line); }};
}

}  // namespace host::cli
