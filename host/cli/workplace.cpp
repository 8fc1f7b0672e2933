#include "host/cli/workplace.h"

#include "host/module/exit_code.h"
#include "host/module/mail_settings.h"
#include "host/module/native_path.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

// The translator would make what is missing, so it has to be there; and nobody may be writing it.
platform::Status CheckInBox(const Setup& setup) {
    auto& files = platform::NativeSystem().files;
    for (const char* name : {"In.mbx", "In.toc"}) {
        const auto file = files.Open(setup.eudoraFolder + '\\' + name, platform::OpenMode::kRead,
                                     platform::Share::kRead);
        if (file) continue;
        const auto& error = file.Error();
        if (error.code == platform::ErrorCode::kNotFound) {
            return Refused("there is no in-box in " + setup.eudoraShown + " (no " + name +
                           "): start Eudora once, or name the folder that holds its mail");
        }
        if (error.code == platform::ErrorCode::kSharingViolation) {
            return Refused(std::string(name) + " in " + setup.eudoraShown +
                           " is in use by another program: try again when it has ended");
        }
        return Refused(std::string(name) + " in " + setup.eudoraShown +
                       " cannot be read: " + error.Message());
    }
    return {};
}

}  // namespace

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

platform::Result<Workplace> Workplace::EnterForMail(const Options& options) {
    return Enter(options, UsesWindowsPaths());
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

platform::Result<TranslatorSession> Workplace::SelectInBox(std::string& selection) {
    if (auto ready = CheckInBox(m_setup); !ready) return ready.Error();
    auto session = TranslatorSession::Create(*m_host, kMailKind);
    if (!session) return session.Error();
    auto selected = SelectMail(*session, m_setup, m_options.writesNothing);
    if (!selected) return selected.Error();
    selection = *std::move(selected);
    return session;
}

platform::Result<TranslatorSession> Workplace::OpenMail() {
    std::string selection;
    auto session = SelectInBox(selection);
    if (!session) return session.Error();
    if (auto opened = session->Open(); !opened) return opened.Error();
    return session;
}

}  // namespace host
