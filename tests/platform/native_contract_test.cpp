#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/os/code_page.h"
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
    for (const auto year : {100y, 2500y, 9999y}) {
        const sys_seconds instant = sys_days(year / March / 1);
        EXPECT_LE(abs(clock.UtcOffset(instant)), 26h);
        EXPECT_LE(abs(clock.StandardOffset(instant).value_or(27h)), 26h);
    }
}

// The resource library beside the test program is one for 32-bit machines, whatever this one is.
TEST(LibrariesContract, StringsAreReadInTheSystemCodePage) {
    const platform::System& system = platform::NativeSystem();
    const unsigned codePage = system.codePage;
    const auto resources = system.libraries.LoadResources("kv_test_strings.dll");
    ASSERT_TRUE(resources) << resources.Error().Message();
    struct Case {
        unsigned id;
        std::size_t limit;
        const char* text;
    };
    for (const Case& c : {Case{1, 1023, "plain"},
                          {1, 3, "pla"},
                          {16, 1023, "Nachname ge\u00E4ndert: M\u00FCller"},
                          {17, 1023, "\u65E5\u672C\U0001F600x"},
                          {6000, 1023, "far away"},
                          {15, 1023, ""},
                          {0x10001, 1023, ""},  // not string 1, though it has the same low word
                          {0xFFFFFFFF, 1023, ""}}) {
        EXPECT_EQ((*resources)->Text(c.id, c.limit), platform::FromUtf8(c.text, codePage)) << c.id;
    }
}
