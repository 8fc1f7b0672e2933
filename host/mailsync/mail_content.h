#pragma once

#include <string>

#include "host/mail/mail.h"

namespace host::mailsync {

// A fingerprint of what Eudora tells of a mail, but for its id, its read state and its attachment
// files: the same mail has the same one after its mailbox was built anew.
std::string ContentOf(const mail::Mail& mail);

}  // namespace host::mailsync
