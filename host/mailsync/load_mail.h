#pragma once

#include "host/engine/progress.h"
#include "host/mailsync/mail_plan.h"
#include "host/mailsync/mail_source.h"

namespace host {

// More remembered mails than this that the limits may hide are looked for by one walk instead of
// one by one.
inline constexpr std::size_t kMostSearches = 16;

// Both sides as they are now. Mails that are remembered are found whatever the limits hide; of a
// mail that is known again no more is read than its id, marker and Message-ID.
platform::Result<MailSides> LoadMailSides(MailSource& source, Maildir& maildir,
                                          const std::vector<RememberedMail>& remembered,
                                          Progress& progress);

}  // namespace host
