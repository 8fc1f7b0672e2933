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
            const sys_seconds instant = sys_days(day) + hour;
            EXPECT_EQ(clock.StandardOffset(instant), standard)
                << instant.time_since_epoch().count();
            if (actual != minutes::min()) {
                EXPECT_EQ(clock.UtcOffset(instant + 999ms), actual);
            }
        }
    }
}

TEST(ClockContract, AnyInstantHasAnOffset) {
    platform::Clock& clock = platform::NativeSystem().clock;
    for (const sys_seconds instant :
         {sys_days(100y / January / 1), sys_days(1900y / March / 1), sys_days(2500y / July / 1),
          sys_days(9999y / December / 31)}) {
        EXPECT_LE(abs(clock.UtcOffset(instant)), 26h);
        EXPECT_LE(abs(clock.StandardOffset(instant).value_or(27h)), 26h);
    }
}
