#pragma once

#include <chrono>
#include <string>

#include "host/mail/mail.h"

namespace host::mail {

// The header of a composed mail but for the fields that tell of its body, ASCII with LF ends.
// `offset` is the local time's difference to UTC at the mail's date.
//
// The fields of the header in the mailbox file stand as they are and in their order: names, dates
// with their zone, threads, lists, the way that the mail went. What the translator tells counts
// where both speak and differ, and is all there is of a mail without that header. Characters that
// no header holds are encoded.
std::string MessageHeader(const Mail& mail, std::chrono::seconds offset);

}  // namespace host::mail
