#include "platform/windows/native_clock.h"

#include <algorithm>

#include "platform/windows/file_time.h"

namespace platform::windows {

std::chrono::system_clock::time_point NativeClock::Now() {
    return std::chrono::system_clock::now();
}

std::chrono::seconds NativeClock::UtcOffset(std::chrono::sys_seconds instant) {
    const FILETIME fileTime = FileTimeOf(instant);
    SYSTEMTIME utc, local;
    FILETIME localTime;
    if (!FileTimeToSystemTime(&fileTime, &utc) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) ||
        !SystemTimeToFileTime(&local, &localTime)) {
        return std::chrono::seconds(0);
    }
    const FileTicks difference = TicksOf(localTime) - TicksOf(fileTime);
    return std::chrono::round<std::chrono::seconds>(difference);
}

std::optional<std::chrono::seconds> NativeClock::StandardOffset(std::chrono::sys_seconds) {
    TIME_ZONE_INFORMATION zone;
    if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return std::nullopt;
    return -std::chrono::minutes(zone.Bias + zone.StandardBias);
}

void NativeClock::Sleep(std::chrono::milliseconds duration) {
    ::Sleep(static_cast<DWORD>(std::clamp<long long>(duration.count(), 0, INFINITE - 1)));
}

}  // namespace platform::windows
