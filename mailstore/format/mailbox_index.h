#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "mailstore/format/toc_records.h"
#include "platform/os/files.h"

namespace mailstore {

// Reads the header from the beginning of a .toc file; what the file lacks counts as zero.
platform::Result<TocHeader> ReadTocHeader(platform::File& toc);

// Called for a mail that has a place in an index of ids; its Message-ID is empty if it has none.
// The text is valid during the call.
using IndexedMail = std::function<void(std::uint32_t msgId, std::string_view messageId)>;

// Reads `count` blocks of a .toc file, whose position is behind the header, and of each mail in the
// .mbx file as much as its Message-ID needs. Gives the id in the last block, 0 for no block.
//
// Nothing in the files is trusted: a block that the .toc lacks is all zero, a mail ends where the
// .mbx file does, and memory does not depend on what a block claims. Blocks that lie over one
// another cannot make it read without end: a mail that would take the bytes read far beyond the
// size of the .mbx file counts as one without "To: ".
platform::Result<std::uint32_t> ReadIndex(platform::File& mbx, platform::File& toc,
                                          std::uint32_t count, const IndexedMail& found);

}  // namespace mailstore
