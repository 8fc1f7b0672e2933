#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/eudora/mailboxes.h"
#include "mailbox/rebuild_toc.h"

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

// The table that the text of a mailbox makes with what still fits of the old one, whatever state
// that is in. kRefused for a table of Eudora for Macintosh, and for a text of more mails than one
// counts. While `text` lives no other program writes the mailbox.
struct NewTable {
    std::unique_ptr<platform::File> text;
    mailbox::RebuiltToc toc;
    bool isOld = false;  // the table is just so already
};
base::Result<NewTable> RebuildTable(platform::Files& files, const Mailbox& mailbox,
                                    unsigned codePage);

}  // namespace host::eudora
