#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/os/system.h"

// Runs once for each zone of CMakeLists.txt, which also says what is expected there.

namespace {

using namespace std::chrono;

minutes Told(const char* variable) {
    const char* const text = std::getenv(variable);
    EXPECT_NE(text, nullptr) << variable << ": run this by ctest";
    return minutes(text != nullptr ? std::atoi(text) : 0);
}

}  // namespace

TEST(ClockContract, DaylightSavingHasNoPartInStandardTime) {
    platform::Clock& clock = platform::NativeSystem().clock;
    const minutes standard = Told("KV_STANDARD");
    // With the hours around the changes of many zones, in which UTC and local time may disagree.
    for (const auto& [day, actual] : {std::pair{2024y / January / 15, Told("KV_JANUARY")},
                                      {2024y / July / 15, Told("KV_JULY")},
                                      {2024y / March / 31, minutes::min()},
                                      {2024y / October / 27, minutes::min()}}) {
        for (auto hour = 0h; hour < 24h; ++hour) {
            const system_clock::time_point instant = sys_days(day) + hour + 999ms;
            EXPECT_EQ(clock.StandardOffset(instant), standard)
                << instant.time_since_epoch().count();
            if (actual != minutes::min()) {
                EXPECT_EQ(clock.UtcOffset(instant), actual);
            }
        }
    }
}

TEST(ClockContract, AnyInstantHasAnOffset) {
    platform::Clock& clock = platform::NativeSystem().clock;
    const auto extreme = system_clock::time_point::min();
    for (const auto instant : {extreme, system_clock::time_point::max(),
                               system_clock::time_point(sys_days(1900y / March / 1) + 1ms)}) {
        EXPECT_LE(abs(clock.UtcOffset(instant)), 26h);
        EXPECT_LE(abs(clock.StandardOffset(instant)), 26h);
    }
}
