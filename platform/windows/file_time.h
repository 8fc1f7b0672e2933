#pragma once

#include <chrono>

#include "platform/windows/windows_api.h"

namespace platform::windows {

// A FILETIME counts 100 ns from 1601-01-01 UTC; this many of them lie before 1970.
using FileTicks = std::chrono::duration<long long, std::ratio<1, 10'000'000>>;
inline constexpr FileTicks kEpochOffset{116'444'736'000'000'000};

inline std::chrono::system_clock::time_point TimePointOf(const FILETIME& time) {
    const FileTicks ticks{static_cast<long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime};
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(ticks - kEpochOffset));
}

inline FILETIME FileTimeOf(std::chrono::system_clock::time_point instant) {
    const auto ticks =
        (std::chrono::floor<FileTicks>(instant.time_since_epoch()) + kEpochOffset).count();
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace platform::windows
