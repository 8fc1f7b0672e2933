#pragma once

#include <optional>
#include <string>

#include "host/cli/commands.h"

namespace host::cli {

// The limits of the mails as the command line names them; checked by WrongDays and WrongSize.
struct MailLimitTexts {
    std::optional<std::string> age, size, attachments, attachmentSize;
    bool IsEmpty() const { return !age && !size && !attachments && !attachmentSize; }
};

// "off" or a number in bounds: "" if it is that, else what it has to be.
std::string WrongDays(const std::string& text);
std::string WrongSize(const std::string& text);

Ending ConfigureContacts(const Options& options);
// Changes the limits as told, or else in the translator's own dialog, and says which hold then.
Ending ConfigureMail(const Options& options, const MailLimitTexts& texts);

}  // namespace host::cli
