#pragma once

#include <cstdint>
#include <string>

namespace benchmarks {

// Writes a nickname file of that many contacts, about 150 bytes each, the same for the same
// arguments: nicknames in no order, two fifths of them quoted; most with a note line, whose tags
// stand in an order of their own; besides, one group and one later duplicate in a thousand lines.
// With `sorted` the file is as this system saves it: nicknames ascending, tags in its order.
bool WriteNicknameFile(const std::string& path, std::uint32_t contacts, bool sorted);

}  // namespace benchmarks
