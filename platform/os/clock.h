#pragma once

#include <chrono>
#include <optional>

namespace platform {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point Now() = 0;
    // The difference of local time to UTC at that instant, east positive.
    virtual std::chrono::seconds UtcOffset(std::chrono::sys_seconds instant) = 0;
    std::chrono::seconds UtcOffset(std::chrono::system_clock::time_point instant) {
        return UtcOffset(std::chrono::floor<std::chrono::seconds>(instant));
    }
    // The same at a local time: right but for the hours around a change of daylight saving. The
    // clock is asked with the local time first, then with what that gives.
    std::chrono::seconds UtcOffset(std::chrono::local_seconds local) {
        const std::chrono::sys_seconds asUtc(local.time_since_epoch());
        return UtcOffset(asUtc - UtcOffset(asUtc));
    }
    // The same of the zone's standard time, daylight saving takes no part, at a local time that is
    // given as if it were one of UTC. Nothing if the zone has left that time out.
    virtual std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds local) = 0;
    virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

// The machine's own.
Clock& NativeClock();

}  // namespace platform
