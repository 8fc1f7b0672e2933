#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/cli/options.h"
#include "host/contactsync/contact_sync.h"
#include "host/eudora/mailbox_table.h"
#include "host/eudora/mailboxes.h"
#include "host/eudora/setup.h"
#include "host/mail/mail_source.h"
#include "host/sync/rules.h"
#include "host/translator/translator_host.h"
#include "host/translator/translator_session.h"
#include "platform/os/not_copied.h"

// What commands share: Eudora with the module, dialogs and progress.
namespace host::cli {

// An Eudora with the loaded module. Its sessions are destroyed before it. Failures are thrown as
// Ended unless a Result is given.
class Workplace {
  public:
    // Whether Eudora may run at the same time. kWork: no. kLook: yes, and nothing is written
    // anywhere. kMail: on Windows yes, where Eudora itself serves the mails of its own folder;
    // elsewhere no.
    enum class For { kWork, kLook, kMail };
    // Finds Eudora and starts the module.
    Workplace(const Options& options, For use);

    translator::TranslatorHost& Module() { return *m_host; }
    const eudora::Setup& Setup() const { return m_setup; }

    // Whether there is a nickname file to work on.
    bool HasNicknameFile();
    // Whether the code page of Eudora's texts is known, not only the usual one.
    bool IsCodePageSaid() const;
    // The nickname file of the options or of an earlier choice, else the module's own: a Windows
    // path in the system code page. The file is checked.
    std::string NicknameFile();
    // A session with it opened.
    translator::TranslatorSession OpenContacts();
    // The nickname files that a sync works on, in the same form: that one, those of the list in the
    // options, or all.
    std::vector<std::string> NicknameFiles();
    // One of them as Eudora's side of a sync; the workplace outlives it.
    contactsync::AddressBook Contacts(const std::string& nicknameFile);
    // A session with the settings of the mails selected, not opened yet. kRefused, with nothing
    // made, if there is no in-box or another program has it.
    base::Result<translator::TranslatorSession> SelectInBox(std::string& selection);
    // The in-box, with these limits in place of the saved ones.
    std::unique_ptr<mail::MailSource> OpenMail(const translator::MailLimitChanges& limits);

    // All mailboxes of Eudora's folder; those of the options, if they name any: kRefused if there
    // is no such mailbox.
    const eudora::MailboxTree& Mailboxes();
    std::vector<eudora::Mailbox> ChosenMailboxes();
    // By what a mailbox is read.
    base::Result<eudora::ReadableTable> TableToRead(const eudora::Mailbox& mailbox) const;
    // The mails of another mailbox, for reading; the sources that came before are destroyed by
    // then. `table` is the content of its table if that was made from its text.
    base::Result<std::unique_ptr<mail::MailSource>> OpenMailbox(
        const eudora::Mailbox& mailbox, const std::optional<std::string>& table,
        const translator::MailLimitChanges& limits);
    // That of the options, the in-box if they name none. A table that cannot be trusted is told on
    // standard error.
    std::unique_ptr<mail::MailSource> OpenChosenMailbox(const translator::MailLimitChanges& limits);

  private:
    std::string ChosenNicknameFile();

    const eudora::SetupOptions m_options;
    const std::vector<std::string> m_nicknameFiles, m_mailboxes;
    std::optional<eudora::MailboxTree> m_tree;
    bool m_servesAnother = false;  // mailbox than the in-box
    eudora::Setup m_setup;
    std::unique_ptr<translator::TranslatorHost> m_host;
};

// Shows the translator's own dialog for a choice. False if the person cancelled it. Without a
// terminal it throws a refusal with `otherwise` as the advice.
bool SelectInDialog(translator::TranslatorSession& session, std::string& selection,
                    const std::string& otherwise);

// The progress line on the terminal. Each line replaces the one before; the destructor removes it.
class ProgressLine : platform::NotCopied {
  public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine() { Show({}); }

    void Show(const std::string& line);

  private:
    bool m_wanted;
    std::string m_shown;
};

// What sync commands need; `progress` outlives it. Throws a refusal if no folder for the state is
// known.
sync::RunContext ContextOf(const Options& options, ProgressLine& progress);

}  // namespace host::cli
