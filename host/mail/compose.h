#pragma once

#include <chrono>
#include <string>

#include "host/mail/mail.h"
#include "platform/os/files.h"
#include "platform/os/result.h"

namespace host {

// The mail as an Internet message (RFC 5322 with MIME, LF line ends) that shows all that a person
// could see in Eudora: header fields in UTF-8 as encoded words, the text as text/plain, flowed or
// HTML as it is marked, attachments with names and types. The same mail gives the same bytes.
// `offset` is the local time's difference to UTC in seconds at the mail's date. A missing
// attachment file becomes a line that says so.
platform::Result<std::string> ComposeMail(platform::Files& files, const Mail& mail,
                                          std::chrono::seconds offset);

}  // namespace host
