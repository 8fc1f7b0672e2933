#pragma once

#include <cstdint>
#include <functional>

#include "platform/os/files.h"

namespace mailbox {

// Calls `found` with the offset of each separator line of a .mbx file, in their order: a line
// "From ???@??? " and a date, by which Eudora finds the mails when it builds a table anew. Reads
// the file once, in pieces, however long its lines are; `from`, the beginning of a line, leaves out
// what stands before it.
platform::Status FindSeparators(platform::File& mbx, std::uint64_t from,
                                const std::function<void(std::uint64_t offset)>& found);

// Whether a line at that place begins as a separator line does.
platform::Result<bool> HasSeparatorAt(platform::File& mbx, std::uint64_t offset);

}  // namespace mailbox
