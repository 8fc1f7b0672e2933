#pragma once

#include <string>

#include "host/mail/mail.h"

namespace host {

// One line: id, N for an unread mail or S for a sent one, date, sender or (of a sent mail)
// recipients, subject.
std::string MailLine(const Mail& mail);
// The fields that hold something, an empty line, the text, what could not be read.
std::string MailText(const Mail& mail);

// One line. Keys without value are null; the date is local time without zone. `whole` adds the text
// and what could not be read.
std::string MailJson(const Mail& mail, bool whole);

}  // namespace host
