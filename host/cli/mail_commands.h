#pragma once

#include <string>

#include "host/cli/options.h"

// The commands for mails. Failures that end a command are thrown as Ended; a single mail that
// cannot be read is reported and left out.
namespace host::cli {

// Both read the in-box, or the mailbox that the options name.

// Prints a line for each mail within the limits, or of all, or a JSON object for each; how many the
// limits hide goes to standard error.
base::ExitCode ListMail(const Options& options);
// The record is an id (0x00000007, 0x7 or 7) or a Message-ID; the limits hide nothing.
base::ExitCode ShowMail(const Options& options);
// Changes the limits by the options, or else in the translator's own dialog, and prints them; or
// only prints them.
base::ExitCode ConfigureMail(const Options& options);

// "" if the text is "off" or a number in bounds (days; KB of 1024 bytes), else why it is not.
std::string WrongDays(const std::string& text);
std::string WrongSize(const std::string& text);
// The same for "on" or "off".
std::string WrongSwitch(const std::string& text);

}  // namespace host::cli
