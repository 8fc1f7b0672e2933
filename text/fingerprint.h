#pragma once

#include <span>
#include <string>
#include <string_view>

namespace text {

// A hash of 64 bits (FNV-1a) as 16 hexadecimal digits. It tells texts apart, but an attacker can
// find two texts with the same one.
std::string Fingerprint(std::string_view text);
// The fingerprint of the pieces joined.
std::string Fingerprint(std::span<const std::string_view> pieces);

// A hash of the same kind that takes eight bytes at a time, for long texts.
std::string QuickFingerprint(std::string_view text);

}  // namespace text
