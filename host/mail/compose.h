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

// Composing mails of Eudora as Internet messages (RFC 5322, RFC 2045 to 2047, RFC 2231, RFC 3676).
namespace host::mail {

// Takes a message piece by piece; its failure ends the composing.
using MessageSink = std::function<base::Status(std::string_view)>;

// Composes the mail as an Internet message with LF line ends. The same mail gives the same bytes on
// every system.
// - Header fields are UTF-8 in encoded words where they need it.
// - The text is text/plain, flowed, HTML or enriched, as Eudora's marks say.
// - Attachments are read from `files` in pieces and have names and types.
// - A missing attachment file, and each note of the mail, is a line of a last text part.
// `offset` is the local time's difference to UTC at the mail's date. After a failure the sink has
// got a part of the message.
base::Status ComposeMail(platform::Files& files, const Mail& mail, std::chrono::seconds offset,
                         const MessageSink& sink);

// The local time's difference to UTC at the mail's date, now for one without.
std::chrono::seconds OffsetOf(platform::Clock& clock, const Mail& mail);

// Composes a mail into the tmp folder of a Maildir, under a name that the Maildir gave, and gives
// its size in bytes. A failure leaves no file; `isMailAtFault` says that the mail caused it and not
// the Maildir, so that other mails can still be composed.
base::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                        platform::Files& files, platform::Clock& clock,
                                        const Mail& mail, bool& isMailAtFault);

}  // namespace host::mail
