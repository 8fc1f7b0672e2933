#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "mapi/records.h"
#include "platform/os/clock.h"

namespace eumapi {

// Text of a caller for one header line: null is empty, and no byte of it begins a line of its own.
std::string HeaderText(const char* text);
// The address of a recipient or sender without "SMTP:"; the name if it has none; empty if there is
// neither.
std::string AddressOf(const MapiRecipDesc& recipient);

// A mail as Eudora's out-box holds it, every line ended by CR LF: separator line, header, empty
// line, text. Eudora attaches the files that the line X-Attachments names when it sends the mail.
std::string OutgoingText(const MapiMessage& message, const std::vector<std::string>& attachments,
                         std::chrono::system_clock::time_point now, platform::Clock& clock);
// The date that Eudora's list of mails shows.
std::string ListDate(std::chrono::system_clock::time_point now, platform::Clock& clock);

}  // namespace eumapi
