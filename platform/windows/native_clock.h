#pragma once

#include "platform/os/clock.h"

namespace platform::windows {

class NativeClock : public Clock {
  public:
    std::chrono::system_clock::time_point Now() override;
    std::chrono::seconds UtcOffset(std::chrono::sys_seconds instant) override;
    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds local) override;
    void Sleep(std::chrono::milliseconds duration) override;
};

}  // namespace platform::windows
