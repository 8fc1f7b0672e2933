#pragma once

#include <string>

#include "host/mail/mail.h"

namespace host::cli {

// One line: id, N for an unread mail or S for a sent one, date, sender or (of a sent mail)
// recipients, subject.
std::string MailLine(const mail::Mail& mail);
// The fields that hold something, an empty line, the text, what could not be read.
std::string MailText(const mail::Mail& mail);

// One line. Keys without value are null; the date is local time without zone. `whole` adds the text
// and what could not be read.
std::string MailJson(const mail::Mail& mail, bool whole);

}  // namespace host::cli
