#include "text/fingerprint.h"

#include <cstdint>
#include <cstdio>

namespace text {

std::string Fingerprint(std::span<const std::string_view> pieces) {
    std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
    for (const std::string_view piece : pieces) {
        for (const char letter : piece) {
            hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3;
        }
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08x%08x", static_cast<unsigned>(hash >> 32),
                  static_cast<unsigned>(hash));
    return digits;
}

std::string Fingerprint(std::string_view text) {
    return Fingerprint(std::span(&text, 1));
}

}  // namespace text
