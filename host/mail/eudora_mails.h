#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "frame/interface/field_ids.h"
#include "host/mail/mail.h"
#include "host/translator/translator_session.h"
#include "platform/os/result.h"

namespace host::mail {

struct MailHead {
    std::string id;
    std::string marker;  // empty: the mail cannot be read, and Current tells why
};

// Which parts of a mail are read: attachments cost a copy of each file.
enum class MailParts { kAll, kWithoutAttachments, kWithoutBody, kHeader };

// Eudora's in-box through an opened translator session; the session outlives this. A mail is read
// only while it is the current one.
class EudoraMails {
  public:
    EudoraMails(translator::TranslatorSession& session, unsigned codePage);

    // Walks all mails that the translator's limits let pass, in the mailbox's order, and those that
    // cannot be read. `visit` may call Current; false from it ends the walk.
    platform::Status Walk(const std::function<platform::Result<bool>(const MailHead&)>& visit);
    // False if the mail is gone. Reaches mails that the limits hide too; cheap in mailbox order.
    // The translator tells a mail that is gone from a fault by its message alone: the one that it
    // gives for an id that no mail can have, while the mailbox can be read.
    platform::Result<bool> GoTo(const std::string& id);
    platform::Result<MailHead> CurrentHead();
    // The mail last reached. A field that cannot be read is left out and told in its notes; where
    // nothing can be read, the failure names the mail by its id, and by its subject and date where
    // those can be.
    platform::Result<Mail> Current(MailParts parts);

  private:
    std::optional<std::string> Field(MailField field, std::vector<std::string>& notes);
    MailHead HeadOrFault(const platform::Result<bool>& reached);
    platform::Status ReachAny();
    platform::Result<Mail> ReadCurrent(MailParts parts);
    std::string CurrentName();
    std::optional<std::string> MessageId(const std::string& recordId);
    void ReadAttachments(Mail& mail);
    platform::Result<bool> IsGoneBy(const std::string& message);

    translator::TranslatorSession& m_session;
    unsigned m_codePage;
    std::string m_goneMessage;
    std::optional<platform::Failure> m_fault;  // of the current mail
};

}  // namespace host::mail
