#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/base/progress.h"
#include "host/mail/mail.h"
#include "host/mail/mail_source.h"
#include "host/mailsync/mail_plan.h"

namespace host::mailsync {

// More remembered mails than this that the limits may hide are looked for by one walk instead of
// one by one.
inline constexpr std::size_t kMostSearches = 16;

// The Maildir, and the folders of outgoing mails in it: a file in .Outbox is queued in Eudora and
// goes to .Sent.
struct MailFolders {
    maildir::Maildir mails, outbox, sent;

    MailFolders(platform::Files& files, platform::Clock& clock, const std::string& maildir);
};

// Both sides as they are now. Mails that are remembered are found whatever the limits hide; of a
// mail that is known again no more is read than its id, marker and Message-ID.
base::Result<MailSides> LoadMailSides(mail::MailSource& source, MailFolders& folders,
                                      const std::vector<state::RememberedMail>& remembered,
                                      base::Progress& progress);

// A fingerprint of what Eudora tells of a mail, but for its id, its read state and its attachment
// files: the same mail has the same one after its mailbox was built anew.
std::string ContentOf(const mail::Mail& mail);

}  // namespace host::mailsync
