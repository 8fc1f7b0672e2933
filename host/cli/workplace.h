#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/cli/options.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/setup.h"
#include "host/sync/rules.h"
#include "host/translator/translator_host.h"
#include "host/translator/translator_session.h"

namespace host::cli {

// An Eudora with the module at work on it. Sessions end before it does. Failures end the command.
class Workplace {
  public:
    // What may run meanwhile: nothing; Eudora, for a look; for mails alone on Windows Eudora, which
    // serves those of its own folder only and is started by the translator.
    enum class For { kWork, kLook, kMail };
    explicit Workplace(const Options& options, For use = For::kWork);

    translator::TranslatorHost& Module() { return *m_host; }
    const eudora::Setup& Setup() const { return m_setup; }

    // Selects the nickname file that the options and earlier choices name and gives its Windows
    // path, in the system code page, once it is known to be usable.
    std::string NicknameFile(bool forWriting);
    // A session with it opened.
    translator::TranslatorSession OpenContacts();
    // The same file as Eudora's side of a sync, which this outlives.
    contactsync::EudoraPlace Contacts(bool forWriting);
    // A session with the settings of the mails selected, not opened yet. kRefused, with nothing
    // made, if there is no in-box or another program has it.
    base::Result<translator::TranslatorSession> SelectInBox(std::string& selection);
    // A session with the in-box opened.
    translator::TranslatorSession OpenMail();

  private:
    const eudora::SetupOptions& m_options;
    eudora::Setup m_setup;
    std::unique_ptr<translator::TranslatorHost> m_host;
};

// Lets a person choose in the translator's own dialog. False if the person cancelled it; without a
// terminal the command ends, with `otherwise` as the advice.
bool SelectInDialog(translator::TranslatorSession& session, std::string& selection,
                    const std::string& otherwise);

// A line on the terminal that the next one replaces and that goes when the run is done.
class ProgressLine {
  public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine() { Show({}); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(const std::string& line);

  private:
    bool m_wanted;
    std::string m_shown;
};

// What the commands of the syncs stand on; `progress` outlives it.
sync::CommandPlace PlaceOf(const Options& options, ProgressLine& progress);

// What the options say about any sync. Their texts have been checked.
template <class SyncOptions>
void SetRules(const Options& options, SyncOptions& sync) {
    sync.dryRun = options.setup.writesNothing;
    if (options.prefer) sync.prefer = *sync::ParsePrefer(*options.prefer);
    if (options.maxDelete) sync.maxDelete = sync::ParseDeleteLimit(*options.maxDelete);
}

}  // namespace host::cli
