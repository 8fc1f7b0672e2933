#pragma once

#include <chrono>
#include <string>

#include "host/mail/mail.h"
#include "platform/os/clock.h"

namespace host::mailsync {

// A fingerprint of what Eudora tells of a mail, but for its id, its read state and its attachment
// files: the same mail has the same one after its mailbox was built anew.
std::string ContentOf(const mail::Mail& mail);

// What a report calls a mail: "SUBJECT from SENDER" in one line, without anything that moves a
// terminal's cursor.
std::string MailName(std::string subject, std::string from);

// Local time's difference to UTC at the mail's date.
std::chrono::seconds OffsetAt(platform::Clock& clock, const mail::Mail& mail);

}  // namespace host::mailsync
