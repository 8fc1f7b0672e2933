#pragma once

#include "platform/os/clock.h"

namespace platform::windows {

class NativeClock : public Clock {
  public:
    std::chrono::system_clock::time_point Now() override;
    std::chrono::seconds UtcOffset(std::chrono::system_clock::time_point instant) override;
    std::chrono::seconds StandardOffset(std::chrono::system_clock::time_point instant) override;
    void Sleep(std::chrono::milliseconds duration) override;
};

}  // namespace platform::windows
