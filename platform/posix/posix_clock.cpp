#include <time.h>

#include <thread>

#include "platform/os/clock.h"

namespace platform {

namespace {

class PosixClock : public Clock {
  public:
    std::chrono::seconds UtcOffset(std::chrono::sys_seconds instant) override {
        const time_t seconds = instant.time_since_epoch().count();
        struct tm local = {};
        if (localtime_r(&seconds, &local) == nullptr) return std::chrono::seconds(0);
        return std::chrono::seconds(local.tm_gmtoff);
    }

    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds local) override {
        const time_t seconds = local.time_since_epoch().count();
        struct tm fields = {};
        if (gmtime_r(&seconds, &fields) == nullptr) return std::nullopt;
        fields.tm_isdst = 0;
        // The result -1 is a time too; the weekday is set by a success alone.
        fields.tm_wday = -1;
        const time_t instant = mktime(&fields);
        if (fields.tm_wday < 0) return std::nullopt;
        return std::chrono::seconds(seconds - instant);
    }

    void Sleep(std::chrono::milliseconds duration) override {
        std::this_thread::sleep_for(duration);
    }
};

}  // namespace

Clock& NativeClock() {
    static PosixClock clock;
    return clock;
}

}  // namespace platform
