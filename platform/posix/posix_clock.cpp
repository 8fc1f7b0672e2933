#include "platform/posix/posix_clock.h"

#include <time.h>

#include <thread>

namespace platform::posix {

std::chrono::system_clock::time_point PosixClock::Now() {
    return std::chrono::system_clock::now();
}

std::chrono::seconds PosixClock::UtcOffset(std::chrono::system_clock::time_point instant) {
    const time_t seconds = std::chrono::system_clock::to_time_t(instant);
    struct tm local = {};
    if (localtime_r(&seconds, &local) == nullptr) return std::chrono::seconds(0);
    return std::chrono::seconds(local.tm_gmtoff);
}

std::chrono::seconds PosixClock::StandardOffset(std::chrono::system_clock::time_point instant) {
    const time_t seconds = std::chrono::system_clock::to_time_t(instant);
    struct tm fields = {};
    if (gmtime_r(&seconds, &fields) == nullptr) return std::chrono::seconds(0);
    fields.tm_isdst = 0;
    return std::chrono::seconds(seconds - mktime(&fields));
}

void PosixClock::Sleep(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace platform::posix
