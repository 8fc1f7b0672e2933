#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mailbox/mailbox_state.h"
#include "platform/os/files.h"

// A mailbox as its two files show it.
namespace host::doctor {

// What makes a table unfit to be trusted; empty for a sound one.
std::vector<std::string> FaultsOf(const mailbox::MailboxState& state);

// Numbers are of mails; nothing where they cannot be told.
struct MailboxLook {
    std::optional<std::uint64_t> inTable, unread;
    std::optional<std::uint64_t> inText;
    std::uint64_t bytes = 0;  // of the text
    std::vector<std::string> faults;
    bool isUnreadable = false;  // a file is there, and the system does not let it be read
};

// Looks at the files of those paths, which are in the form of `files`, in time of their size.
MailboxLook LookAt(platform::Files& files, const std::string& text, const std::string& table);

}  // namespace host::doctor
