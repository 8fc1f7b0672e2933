#pragma once

#include <string>

#include "host/cli/commands.h"
#include "host/translator/mail_settings.h"

namespace host::cli {

// "off" or a number in bounds: "" if it is that, else what it has to be.
std::string WrongDays(const std::string& text);
std::string WrongSize(const std::string& text);

Ending ConfigureContacts(const Options& options);
// Changes the limits as told, or else in the translator's own dialog, and says which hold then.
Ending ConfigureMail(const Options& options, const translator::MailLimitChanges& changes);

}  // namespace host::cli
