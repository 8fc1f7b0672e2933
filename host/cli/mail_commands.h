#pragma once

#include <string>

#include "host/cli/options.h"

// The commands for mails. Failures that end a command are thrown as Ended; a single mail that
// cannot be read is reported and left out.
namespace host::cli {

// Prints a line for each mail within the limits, or a JSON object for each.
base::ExitCode ListMail(const Options& options);
// The record is an id ("0x" and eight digits) or a Message-ID.
base::ExitCode ShowMail(const Options& options);
// Writes the mails within the limits into the Maildir `toFolder`, which must not hold any.
base::ExitCode ExportMail(const Options& options);
// Changes the limits by the options, or else in the translator's own dialog, and prints them.
base::ExitCode ConfigureMail(const Options& options);

// "" if the text is "off" or a number in bounds (days; KB of 1024 bytes), else why it is not.
std::string WrongDays(const std::string& text);
std::string WrongSize(const std::string& text);

}  // namespace host::cli
