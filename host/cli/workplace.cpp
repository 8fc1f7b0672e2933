#include "host/cli/workplace.h"

#include "host/module/exit_code.h"
#include "host/module/in_box.h"
#include "host/module/native_path.h"
#include "host/module/windows_path.h"

namespace host {

platform::Result<Workplace> Workplace::Enter(const Options& options, bool mayRun) {
    auto setup = Prepare(options.setup);
    if (!setup) return setup.Error();
    if (!mayRun) {
        if (auto stopped = RefuseRunningEudora(*setup); !stopped) return stopped.Error();
    }
    return Start(options, *std::move(setup));
}

platform::Result<Workplace> Workplace::EnterForMail(const Options& options) {
    auto setup = Prepare(options.setup);
    if (!setup) return setup.Error();
    auto ready = UsesWindowsPaths() ? RefuseMailsElsewhere(*setup) : RefuseRunningEudora(*setup);
    if (!ready) return ready.Error();
    return Start(options, *std::move(setup));
}

platform::Result<Workplace> Workplace::Start(const Options& options, Setup setup) {
    auto host = TranslatorHost::Start(setup.init);
    if (!host) return host.Error();
    Workplace place;
    place.m_setup = std::move(setup);
    place.m_options = options.setup;
    place.m_host = *std::move(host);
    return place;
}

platform::Result<std::string> Workplace::NicknameFile(bool forWriting) {
    auto chosen = ChooseNicknameFile(m_options, m_setup);
    if (!chosen) return chosen.Error();
    if (chosen->empty()) {
        auto session = TranslatorSession::Create(*m_host, kContactsKind);
        if (!session) return session.Error();
        std::string summary;
        // A missing default file is told below, in the words of all other missing files.
        if (auto selected = session->Select(*chosen, summary, false); !selected) {
            *chosen = m_setup.eudoraFolder + "\\nndbase.txt";
        }
    }
    if (auto checked = CheckNicknameFile(*chosen, forWriting); !checked) return checked.Error();
    return *chosen;
}

platform::Result<TranslatorSession> Workplace::SelectInBox(std::string& selection) {
    return host::SelectInBox(*m_host, m_setup, m_options.writesNothing, selection);
}

platform::Result<TranslatorSession> Workplace::OpenMail() {
    std::string selection;
    auto session = SelectInBox(selection);
    if (!session) return session.Error();
    if (auto opened = session->Open(); !opened) return opened.Error();
    return session;
}

}  // namespace host
