#pragma once

#include <optional>

#include "platform/os/clock.h"

namespace platform::testing {

// A clock that only Sleep moves, without waiting. Offsets are seconds east of UTC.
class FixedClock : public Clock {
  public:
    std::chrono::system_clock::time_point now = std::chrono::system_clock::from_time_t(0);
    std::chrono::seconds offset{0};
    std::optional<std::chrono::seconds> standardOffset;  // if daylight saving makes it another one
    int sleeps = 0;

    std::chrono::system_clock::time_point Now() override { return now; }
    std::chrono::seconds UtcOffset(std::chrono::sys_seconds) override { return offset; }
    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds) override {
        return standardOffset.value_or(offset);
    }
    void Sleep(std::chrono::milliseconds duration) override {
        now += duration;
        ++sleeps;
    }
};

}  // namespace platform::testing
