#pragma once

#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/eudora/mailboxes.h"

namespace host::eudora {

// By what a mailbox is read: its own table, or the content of one that is made from its text.
struct ReadableTable {
    std::optional<std::string> made;
    std::string note;  // why it was made, and what is lost with the old one; empty for the own one
};

// Looks at the table and at the places in the text that it tells; only a table that cannot be
// trusted makes it read the whole text. Nothing is written. Fails if the text cannot be read.
base::Result<ReadableTable> TableToRead(platform::Files& files, const Mailbox& mailbox,
                                        unsigned codePage);

}  // namespace host::eudora
