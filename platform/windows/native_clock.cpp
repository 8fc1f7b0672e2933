#include "platform/windows/native_clock.h"

#include <algorithm>

#include "platform/windows/file_time.h"

namespace platform::windows {

std::chrono::system_clock::time_point NativeClock::Now() {
    return std::chrono::system_clock::now();
}

std::chrono::seconds NativeClock::UtcOffset(std::chrono::system_clock::time_point instant) {
    // Whole seconds, for the system's split time drops what is below a millisecond.
    const auto whole = std::chrono::floor<std::chrono::seconds>(instant);
    const FILETIME fileTime = FileTimeOf(whole);
    SYSTEMTIME utc, local;
    FILETIME localTime;
    if (!FileTimeToSystemTime(&fileTime, &utc) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) ||
        !SystemTimeToFileTime(&local, &localTime)) {
        return std::chrono::seconds(0);
    }
    return std::chrono::duration_cast<std::chrono::seconds>(TimePointOf(localTime) - whole);
}

std::chrono::seconds NativeClock::StandardOffset(std::chrono::system_clock::time_point) {
    TIME_ZONE_INFORMATION zone;
    if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return std::chrono::seconds(0);
    return -std::chrono::minutes(zone.Bias + zone.StandardBias);
}

void NativeClock::Sleep(std::chrono::milliseconds duration) {
    ::Sleep(static_cast<DWORD>(std::clamp<long long>(duration.count(), 0, INFINITE - 1)));
}

}  // namespace platform::windows
