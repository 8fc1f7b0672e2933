#include "host/cli/workplace.h"

#include "host/module/exit_code.h"
#include "host/module/mail_settings.h"
#include "host/module/native_path.h"
#include "host/module/windows_path.h"
#include "platform/os/system.h"

namespace host {

namespace {

constexpr std::size_t kTocStart = 104;  // bytes before the first mail's entry
constexpr std::string_view kMacintosh("\0\1", 2);

// Only what tells a table of contents from what would read as an empty one.
platform::Status CheckToc(platform::File& toc, const std::string& shown) {
    char start[kTocStart];
    const auto count = toc.ReadAt(0, start);
    if (!count) return count.Error();
    if (std::string_view(start, *count).starts_with(kMacintosh)) {
        return Refused("In.toc in " + shown +
                       " was written by Eudora for Macintosh, which is another format: let Eudora "
                       "for Windows import that mailbox first");
    }
    if (*count < kTocStart) {
        return Refused("In.toc in " + shown + " is cut short (" + std::to_string(*count) +
                       " bytes): bring back a copy of it, or let Eudora rebuild it");
    }
    return {};
}

// The translator would make what is missing, so it has to be there; and nobody may be writing it.
platform::Status CheckInBox(const Setup& setup) {
    auto& files = platform::NativeSystem().files;
    for (const char* name : {"In.mbx", "In.toc"}) {
        const auto file = files.Open(setup.eudoraFolder + '\\' + name, platform::OpenMode::kRead,
                                     platform::Share::kRead);
        if (file) {
            const bool isToc = std::string_view(name) == "In.toc";
            auto checked = isToc ? CheckToc(**file, setup.eudoraShown) : platform::Status();
            if (!checked) return checked;
            continue;
        }
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
