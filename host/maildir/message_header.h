#pragma once

#include <string>
#include <string_view>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::maildir {

// The most of a file that is read in search of its header's end.
inline constexpr std::size_t kLargestHeader = 64 * 1024;

// The Message-ID in the header of a message, without its angle brackets; empty if it has none.
// Line ends may be LF or CR LF, the field may be folded, its name in any case; what stands behind
// the header does not matter. Of a header that is cut off only whole fields count.
std::string MessageIdInHeader(std::string_view message);

// The beginning of a file: its header, as far as kLargestHeader, and the rest of a block.
base::Result<std::string> ReadHeader(platform::Files& files, const std::string& path);

}  // namespace host::maildir
