#pragma once

#include <cstdint>
#include <string>

#include "host/mail/mail.h"
#include "host/maildir/maildir.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::mail {

// Composes a mail into the tmp folder of a Maildir, under a name of that Maildir's, and gives its
// size. After a failure nothing is there; `isMailAtFault` tells one of the mail from one of the
// Maildir, which other mails would meet, too.
platform::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                            platform::Files& files, platform::Clock& clock,
                                            const Mail& mail, bool& isMailAtFault);

}  // namespace host::mail
