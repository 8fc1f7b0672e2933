#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/mail/eudora_mails.h"
#include "host/mail/new_mail.h"
#include "host/translator/translator_session.h"
#include "platform/os/result.h"

namespace host::mail {

// Changes to Eudora's mail through an opened translator session, which outlives this. But for
// Remove, which works at once, they wait in the translator until Finish.
class EudoraMailWriter {
  public:
    explicit EudoraMailWriter(translator::TranslatorSession& session) : m_session(session) {}

    // Puts a mail into the in-box, unread or read (kStatusUnread, kStatusRead). Its attachment
    // files are gone afterwards. Gives the id and the marker that it will have. A mail that names
    // no recipient goes to "undisclosed-recipients": Eudora's index passes over one without any.
    // Nothing of a mail that fails is stored.
    platform::Result<MailHead> Add(const NewMail& mail, std::uint32_t status);
    // Hands a mail over for sending. It has no id, and a Finish that fails does not tell which of
    // several mails failed: finish after each.
    platform::Status AddOutgoing(const NewMail& mail);
    platform::Status SetStatus(const std::string& id, std::uint32_t status);
    platform::Status Remove(const std::string& id);

    // Closes the session, which carries out all that waits; the caller opens it again. After a
    // failure a part may have been carried out: Missing tells of new mails.
    platform::Status Finish();
    // Of a session opened again: which of the mails added before the last Finish are not in the
    // in-box.
    platform::Result<std::vector<std::string>> Missing();

  private:
    platform::Status Fill(const NewMail& mail, std::uint32_t status);
    platform::Status SetAttachments(const NewMail& mail);
    platform::Status SetTexts(const NewMail& mail, bool isOutgoing);

    translator::TranslatorSession& m_session;
    std::vector<std::string> m_added, m_finished;  // ids
};

}  // namespace host::mail
