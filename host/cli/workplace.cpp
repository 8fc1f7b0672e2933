#include "host/cli/workplace.h"

#include "host/module/windows_path.h"

namespace host {

platform::Result<Workplace> Workplace::Enter(const Options& options, bool mayRun) {
    Workplace place;
    place.m_options = options.setup;
    auto setup = Prepare(options.setup);
    if (!setup) return setup.Error();
    place.m_setup = *std::move(setup);
    if (!mayRun) {
        if (auto stopped = RefuseRunningEudora(place.m_setup); !stopped) return stopped.Error();
    }
    auto host = TranslatorHost::Start(place.m_setup.init);
    if (!host) return host.Error();
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

platform::Result<TranslatorSession> Workplace::OpenContacts(const std::string& nicknameFile) {
    auto session = TranslatorSession::Create(*m_host, kContactsKind);
    if (!session) return session.Error();
    std::string selection = nicknameFile, summary;
    auto selected = session->Select(selection, summary, false);
    if (!selected) return selected.Error();
    if (auto opened = session->Open(); !opened) return opened.Error();
    return session;
}

}  // namespace host
