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

// An Eudora with the module at work on it. Sessions end before it does.
class Workplace {
  public:
    // kRefused if there is no Eudora to work on, or it runs and `mayRun` is not set.
    static base::Result<Workplace> Enter(const Options& options, bool mayRun = false);
    // For work on mails alone. On Windows Eudora itself serves them, those of its own folder only:
    // it may run, and the translator starts it if it does not.
    static base::Result<Workplace> EnterForMail(const Options& options);

    translator::TranslatorHost& Module() { return *m_host; }
    const eudora::Setup& Setup() const { return m_setup; }

    // Selects the nickname file that the options and earlier choices name and gives its Windows
    // path, in the system code page, once it is known to be usable.
    base::Result<std::string> NicknameFile(bool forWriting);
    // The same as Eudora's side of a sync, which this outlives.
    base::Result<contactsync::EudoraPlace> Contacts(bool forWriting);
    // A session with the settings of the mails selected, not opened yet. kRefused, with nothing
    // made, if there is no in-box or another program has it.
    base::Result<translator::TranslatorSession> SelectInBox(std::string& selection);
    // A session with the in-box opened. kRefused, with nothing made, if there is no in-box.
    base::Result<translator::TranslatorSession> OpenMail();

  private:
    static base::Result<Workplace> Start(const Options& options, eudora::Setup setup);

    eudora::Setup m_setup;
    eudora::SetupOptions m_options;
    std::unique_ptr<translator::TranslatorHost> m_host;
};

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
base::Result<sync::CommandPlace> PlaceOf(const Options& options, ProgressLine& progress);

// What the options say about any sync. Their texts have been checked.
template <class SyncOptions>
void SetRules(const Options& options, SyncOptions& sync) {
    sync.dryRun = options.setup.writesNothing;
    if (options.prefer) sync.prefer = *sync::ParsePrefer(*options.prefer);
    if (options.maxDelete) sync.maxDelete = sync::ParseDeleteLimit(*options.maxDelete);
}

}  // namespace host::cli
