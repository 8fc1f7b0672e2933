#pragma once

#include <cstdint>
#include <string_view>

namespace kvutil {

// CRC-32 (IEEE 802.3, as in zlib) of the bytes, continued from `sum`, which starts at 0.
std::uint32_t CheckSum(std::string_view bytes, std::uint32_t sum);

}  // namespace kvutil
