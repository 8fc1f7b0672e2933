#include <algorithm>

#include "platform/os/clock.h"
#include "platform/windows/system_call.h"

namespace platform {

namespace {

using windows::FileTicks;

class WindowsClock : public Clock {
  public:
    std::chrono::seconds UtcOffset(std::chrono::sys_seconds instant) override {
        const FILETIME fileTime = windows::FileTimeOf(instant);
        SYSTEMTIME utc, local;
        FILETIME localTime;
        if (!FileTimeToSystemTime(&fileTime, &utc) ||
            !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) ||
            !SystemTimeToFileTime(&local, &localTime)) {
            return std::chrono::seconds(0);
        }
        const FileTicks difference = windows::TicksOf(localTime) - windows::TicksOf(fileTime);
        return std::chrono::round<std::chrono::seconds>(difference);
    }

    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds) override {
        TIME_ZONE_INFORMATION zone;
        if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return std::nullopt;
        return -std::chrono::minutes(zone.Bias + zone.StandardBias);
    }

    void Sleep(std::chrono::milliseconds duration) override {
        ::Sleep(static_cast<DWORD>(std::clamp<long long>(duration.count(), 0, INFINITE - 1)));
    }
};

}  // namespace

Clock& NativeClock() {
    static WindowsClock clock;
    return clock;
}

}  // namespace platform
