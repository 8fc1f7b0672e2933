#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "mailbox/toc_records.h"
#include "platform/os/files.h"

namespace mailbox {

// Reads the header from the beginning of a .toc file; what the file lacks counts as zero.
platform::Result<TocHeader> ReadTocHeader(platform::File& toc);

// The same before the file is changed: kCorrupt if it is no table of contents of Eudora for
// Windows, as docs/formats/toc.md tells.
platform::Result<TocHeader> ReadTocHeaderToChange(platform::File& toc);

// Visits `count` blocks, the first ones of a .toc file; a block that the file lacks is all zero.
// Ends with the first failure.
using VisitBlock = std::function<platform::Status(const MailPlace& place)>;
platform::Status ForEachBlock(platform::File& toc, std::uint32_t count, const VisitBlock& visit);

// Called for each block, in order. The Message-ID is empty if the mail has none, and there is
// nothing for a mail that has no place in an index of ids. The text is valid during the call.
using IndexedMail =
    std::function<void(std::uint32_t msgId, std::optional<std::string_view> messageId)>;

// Reads `count` blocks of a .toc file, and of each mail in the .mbx file as much as its Message-ID
// needs. Gives the id in the last block, 0 for no block.
//
// Nothing in the files is trusted: a block that the .toc lacks is all zero, a mail ends where the
// .mbx file does, and memory does not depend on what a block claims. Blocks that lie over one
// another cannot make it read without end: a mail that would take the bytes read far beyond the
// size of the .mbx file counts as one without "To: ".
platform::Result<std::uint32_t> ReadIndex(platform::File& mbx, platform::File& toc,
                                          std::uint32_t count, const IndexedMail& found);

}  // namespace mailbox
