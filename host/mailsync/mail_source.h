#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/mail/eudora_mails.h"
#include "host/mail/mail.h"
#include "host/mail/new_mail.h"
#include "platform/os/result.h"

namespace host::mailsync {

enum class Reach { kWithinLimits, kAll };

// Eudora's in-box as the engine needs it: a walk, one current mail, and changes.
class MailSource {
  public:
    virtual ~MailSource() = default;

    // Whether the limits of age and size hide anything at all.
    virtual bool HasLimits() const = 0;
    // One line on what the limits leave out and how that is changed; empty if they leave out
    // nothing.
    virtual std::string Limits() const { return {}; }
    // Visits the mails in the mailbox's order, each the current one while it is visited; of one
    // that cannot be read, which has no marker, Read gives the reason. A failure from `visit` ends
    // the walk.
    virtual platform::Status Walk(
        Reach reach, const std::function<platform::Status(const mail::MailHead&)>& visit) = 0;
    // Makes a mail the current one, whatever the limits hide; nothing if it is gone, a failure if
    // it cannot be read.
    virtual platform::Result<std::optional<mail::MailHead>> Find(const std::string& id) = 0;

    // Of the current mail: its Message-ID without angle brackets, empty if it has none, nothing if
    // that cannot be told; what a report calls it; all of it.
    virtual std::optional<std::string> MessageId() = 0;
    virtual std::string Name() = 0;
    virtual platform::Result<mail::Mail> Read(mail::MailParts parts) = 0;

    // Changes, as EudoraMailWriter has them: but for Remove they wait until Finish, after which the
    // in-box can be read again, also when it failed.
    virtual platform::Result<mail::MailHead> Add(const mail::NewMail& mail,
                                                 std::uint32_t status) = 0;
    virtual platform::Status AddOutgoing(const mail::NewMail& mail) = 0;
    virtual platform::Status SetStatus(const std::string& id, std::uint32_t status) = 0;
    virtual platform::Status Remove(const std::string& id) = 0;
    virtual platform::Status Finish() = 0;
};

}  // namespace host::mailsync
