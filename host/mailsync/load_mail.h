#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/base/progress.h"
#include "host/mail/mail_source.h"
#include "host/mailsync/mail_sides.h"

// Reading both sides of a sync of mails.
namespace host::mailsync {

// How many mails hidden by Eudora's limits are searched one by one; for more of them one walk over
// the whole in-box is cheaper.
inline constexpr std::size_t kMostSearches = 16;

// The Maildir, and its subfolders for outgoing mails: a file in .Outbox is queued in Eudora and
// moves to .Sent. `maildir` is a native path in UTF-8; `files` and `clock` outlive the object.
struct MailFolders {
    platform::Files& files;
    platform::Clock& clock;
    maildir::Maildir mails, outbox, sent;

    MailFolders(platform::Files& at, platform::Clock& by, const std::string& maildir);
};

// Both sides as they are now. Eudora's limits hide new mails only: remembered ones are searched
// behind them too. Of a recognised mail only id, marker and Message-ID are read. Single mails and
// files that cannot be read are listed in `unread`; a failure to list a folder, to walk the in-box,
// or to look at a file whose delivery was interrupted ends the loading. `codePage` is that of
// Eudora's texts.
base::Result<MailSides> LoadMailSides(mail::MailSource& source, MailFolders& folders,
                                      const std::vector<state::RememberedMail>& remembered,
                                      unsigned codePage, base::Progress& progress);

}  // namespace host::mailsync
