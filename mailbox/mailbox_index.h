#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/os/files.h"

namespace mailbox {

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
