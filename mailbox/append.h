#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "mailbox/toc_records.h"
#include "platform/os/files.h"

// Adding mails to the end of a mailbox.
namespace mailbox {

// A mailbox to add to, as its owner has read it.
struct AppendPlace {
    platform::File& mbx;  // both open for reading and writing
    platform::File& toc;
    TocHeader header;             // as it is in the file; its count gives the place of new blocks
    std::uint64_t mbxSize = 0;    // bytes; where the new texts go
    std::string lead = {};        // goes in front of the first text
    std::uint32_t highestId = 0;  // its low half goes into the header
    bool tellsMbxSize = false;    // so does the size of the .mbx file, as Eudora has it
};

// Appends the text of the n-th new mail, counted from 0, to `out` and gives the bytes of its block;
// AppendMails fills in offset and length. Without bytes, the mail cannot be had.
using MakeMail = std::function<std::string(std::size_t n, std::string& out)>;

// The result of an append. Of the mails in their order the first `written` are stored, the next
// `uncertain` may be, the others are not.
struct Appended {
    std::size_t written = 0;
    std::size_t uncertain = 0;
    std::size_t refused = 0;  // the last ones, from one on without room or that cannot be had
    std::optional<platform::Failure> failure;
    bool isOfToc = false;  // the failure is of the .toc file, not of the .mbx file
    bool isOutOfMemory = false;
};

// Appends `count` mails: first the texts, then the blocks behind the counted ones, the header last,
// each flushed before the next. So the header counts whole mails only, even after a crash. After a
// failure the files are cut back behind the last counted mail, unless the header may count the
// `uncertain` ones.
Appended AppendMails(const AppendPlace& place, std::size_t count, const MakeMail& make);

// Checks the bytes behind the counted blocks of a .toc file, which an append will overwrite.
// kCorrupt unless an interrupted append left them: blocks, in any order, of mails that lie in the
// .mbx file behind all counted ones; the last block may be cut short. Zero bytes are allowed.
platform::Status CheckLeftovers(platform::File& toc, const TocHeader& header,
                                std::uint64_t mbxSize);

}  // namespace mailbox
