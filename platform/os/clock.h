#pragma once

#include <chrono>
#include <optional>

// Time and time zone of the machine.
namespace platform {

class Clock {
  public:
    virtual ~Clock() = default;
    // The present instant, in UTC.
    virtual std::chrono::system_clock::time_point Now() { return std::chrono::system_clock::now(); }
    // The difference of local time to UTC at that instant, east positive.
    virtual std::chrono::seconds UtcOffset(std::chrono::sys_seconds instant) = 0;
    std::chrono::seconds UtcOffset(std::chrono::system_clock::time_point instant) {
        return UtcOffset(std::chrono::floor<std::chrono::seconds>(instant));
    }
    // The difference at a local time; in the hours around a change of daylight saving it may be the
    // one before or after the change.
    std::chrono::seconds UtcOffset(std::chrono::local_seconds local) {
        const std::chrono::sys_seconds asUtc(local.time_since_epoch());
        return UtcOffset(asUtc - UtcOffset(asUtc));
    }
    // The difference without daylight saving at a local time, which is written as if it were UTC.
    // Nothing for a local time that the zone skips.
    virtual std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds local) = 0;
    // Returns after that time at the earliest.
    virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

// The machine's clock, there until the process ends.
Clock& NativeClock();

}  // namespace platform
