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
    TocHeader header;             // as it stands; its count says where the new blocks go
    std::uint64_t mbxSize = 0;    // bytes; where the new texts go
    std::string lead = {};        // goes in front of the first text
    std::uint32_t highestId = 0;  // its low half goes into the header
    bool tellsMbxSize = false;    // so does the size of the .mbx file, as Eudora has it
};

// Appends the text of the n-th new mail, counted from 0, to `out` and gives the bytes of its block,
// whose place is filled in here.
using MakeMail = std::function<std::string(std::size_t n, std::string& out)>;

// What became of the mails, in their order: the first `written` are stored, then come those of
// which nobody can tell, then the others.
struct Appended {
    std::size_t written = 0;
    std::size_t uncertain = 0;
    std::size_t refused = 0;  // for which a mailbox has no room: the last ones
    std::optional<platform::Failure> failure;
    bool isOfToc = false;  // the failure, not the .mbx file's
    bool isOutOfMemory = false;
};

// Appends `count` mails: their texts, then their blocks behind the last one that the header counts,
// and the header last, each on the disk before the next. Whatever fails, the header counts whole
// mails only; then the files are cut back behind the last mail that it counts.
Appended AppendMails(const AppendPlace& place, std::size_t count, const MakeMail& make);

// kCorrupt unless what stands behind the counted blocks of a .toc file was left there by an append
// that did not come to its end: blocks of mails behind all counted ones that are in the .mbx file,
// which may stand in any order, the last block perhaps cut short at any byte. Zeros are nothing.
platform::Status CheckLeftovers(platform::File& toc, const TocHeader& header,
                                std::uint64_t mbxSize);

}  // namespace mailbox
