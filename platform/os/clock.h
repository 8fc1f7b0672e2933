#pragma once

#include <chrono>

namespace platform {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point Now() = 0;
    // The difference of local time to UTC at that instant, east positive.
    virtual std::chrono::seconds UtcOffset(std::chrono::system_clock::time_point instant) = 0;
    // The same of the zone's standard time: daylight saving takes no part. `instant` may be a local
    // time as well as a time of UTC.
    virtual std::chrono::seconds StandardOffset(std::chrono::system_clock::time_point instant) = 0;
    virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

}  // namespace platform
