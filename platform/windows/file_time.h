#pragma once

#include <chrono>

#include "platform/windows/windows_api.h"

namespace platform::windows {

// A FILETIME counts 100 ns from 1601-01-01 UTC; this many of them lie before 1970.
using FileTicks = std::chrono::duration<long long, std::ratio<1, 10'000'000>>;
inline constexpr FileTicks kEpochOffset{116'444'736'000'000'000};

inline FileTicks TicksOf(const FILETIME& time) {
    return FileTicks{static_cast<long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime};
}

inline std::chrono::system_clock::time_point TimePointOf(const FILETIME& time) {
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(TicksOf(time) -
                                                                        kEpochOffset));
}

// Of an instant of any precision.
template <class Duration>
FILETIME FileTimeOf(std::chrono::sys_time<Duration> instant) {
    const auto ticks =
        (std::chrono::floor<FileTicks>(instant.time_since_epoch()) + kEpochOffset).count();
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace platform::windows
