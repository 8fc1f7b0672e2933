#include "text/fingerprint.h"

#include <cstdint>
#include <cstdio>

namespace text {

namespace {

constexpr std::uint64_t kBasis = 0xCBF29CE484222325;  // of FNV-1a

std::string Digits(std::uint64_t hash) {
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08x%08x", static_cast<unsigned>(hash >> 32),
                  static_cast<unsigned>(hash));
    return digits;
}

// Eight bytes, little-endian; compilers make one load of it.
std::uint64_t Word(const char* bytes) {
    std::uint64_t word = 0;
    for (int i = 0; i < 8; ++i) {
        word |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << 8 * i;
    }
    return word;
}

}  // namespace

std::string Fingerprint(std::span<const std::string_view> pieces) {
    std::uint64_t hash = kBasis;
    for (const std::string_view piece : pieces) {
        for (const char letter : piece) {
            hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3;
        }
    }
    return Digits(hash);
}

std::string Fingerprint(std::string_view text) {
    return Fingerprint(std::span(&text, 1));
}

// The shift lets the high bits of a product, which all bits of the word reach, count in the next.
std::string QuickFingerprint(std::string_view text) {
    std::uint64_t hash = kBasis ^ text.size();
    const auto mix = [&](std::uint64_t word) {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15;
        hash ^= hash >> 32;
    };
    for (; text.size() >= 8; text.remove_prefix(8)) mix(Word(text.data()));
    char rest[8] = {};
    text.copy(rest, text.size());
    mix(Word(rest));
    return Digits(hash);
}

}  // namespace text
