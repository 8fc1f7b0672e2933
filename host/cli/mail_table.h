#pragma once

#include <string>

#include "host/mail/mail.h"

// Mails for people and as JSON. Texts are UTF-8; dates are local time without zone.
namespace host::cli {

// A line of columns: id, N (unread) or S (sent), date, sender or (of a sent mail) recipients,
// subject.
std::string MailLine(const mail::Mail& mail);
// The fields with a value, an empty line, the text, and a line for each field that could not be
// read.
std::string MailText(const mail::Mail& mail);

// One line; keys without value are null, the size is in bytes. `whole` adds text and notes.
std::string MailJson(const mail::Mail& mail, bool whole);

}  // namespace host::cli
