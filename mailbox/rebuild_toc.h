#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mailbox/toc_records.h"
#include "platform/os/files.h"

namespace mailbox {

// A table of contents made from a text. Numbers are of mails.
struct RebuiltToc {
    std::string bytes;       // of the .toc file
    std::uint64_t kept = 0;  // with the block that the old table had: state, id, all but the place
    std::uint64_t made = 0;  // with a new block: unread, or sent in the out-box, whatever they were
    std::uint64_t lost = 0;  // of the old table, that the text does not have where it says
    std::uint64_t left = 0;  // for which a table has no room: more than it counts, or behind 4 GiB
};

// Makes a table of the mails that begin with a separator line and end at the next one. A block of
// the old table whose mail begins and ends so is kept, and separator lines inside that mail are
// text; so removed mails that still stand in the text come back. `oldToc` is empty if there is
// none, or one that is not Eudora's for Windows. Bytes and names are in the system code page;
// memory grows with the number of mails.
platform::Result<RebuiltToc> RebuildToc(platform::File& mbx, std::string_view oldToc,
                                        const MailboxKind& kind, unsigned codePage);

}  // namespace mailbox
