#include "platform/kvutil/check_sum.h"

#include <array>

namespace kvutil {

namespace {

constexpr std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t rest = i;
        for (int bit = 0; bit < 8; ++bit) rest = rest >> 1 ^ ((rest & 1) != 0 ? 0xEDB88320U : 0U);
        table[i] = rest;
    }
    return table;
}

constexpr auto kTable = MakeTable();

}  // namespace

std::uint32_t CheckSum(std::string_view bytes, std::uint32_t sum) {
    std::uint32_t rest = ~sum;
    for (const char byte : bytes) {
        rest = rest >> 8 ^ kTable[(rest ^ static_cast<unsigned char>(byte)) & 0xFF];
    }
    return ~rest;
}

}  // namespace kvutil
