#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/base/failure.h"
#include "host/mail/mail.h"
#include "host/maildir/maildir.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::mail {

// Takes a message piece by piece; its failure ends the making of it.
using MessageSink = std::function<base::Status(std::string_view)>;

// The mail as an Internet message (RFC 5322 with MIME, LF line ends) that shows all that a person
// could see in Eudora: header fields in UTF-8 as encoded words, the text as text/plain, flowed or
// HTML as it is marked, attachments with names and types. The same mail gives the same bytes, on
// every system. `offset` is the local time's difference to UTC in seconds at the mail's date. A
// missing attachment file, and each note of the mail, becomes a line in a text part of its own at
// the end. No attachment is in memory as a whole.
base::Status ComposeMail(platform::Files& files, const Mail& mail, std::chrono::seconds offset,
                         const MessageSink& sink);

// Composes a mail into the tmp folder of a Maildir, under a name of that Maildir's, and gives its
// size. After a failure nothing is there; `isMailAtFault` tells one of the mail from one of the
// Maildir, which other mails would meet, too.
base::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                        platform::Files& files, platform::Clock& clock,
                                        const Mail& mail, bool& isMailAtFault);

}  // namespace host::mail
