#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/os/code_page.h"
#include "platform/os/system.h"
#include "tests/support/table.h"
#include "text/double_byte.h"

// Runs once for each zone of CMakeLists.txt, which also says what is expected there.

namespace {

using namespace std::chrono;
using platform::FromUtf8;
using platform::ToUtf8;
using test::Table;

minutes Told(const char* variable) {
    const char* const text = std::getenv(variable);
    EXPECT_NE(text, nullptr) << variable << ": run this by ctest";
    return minutes(text != nullptr ? std::atoi(text) : 0);
}

}  // namespace

TEST(ClockContract, DaylightSavingHasNoPartInStandardTime) {
    platform::Clock& clock = platform::NativeSystem().clock;
    // With the hours around the changes of many zones, in which UTC and local time may disagree.
    for (const auto& [day, actual] : {std::pair{2024y / January / 15, Told("KV_JANUARY")},
                                      {2024y / July / 15, Told("KV_JULY")},
                                      {2024y / March / 31, minutes::min()},
                                      {2024y / October / 27, minutes::min()}}) {
        for (auto hour = 0h; hour < 24h; ++hour) {
            const sys_seconds instant = sys_days(day) + hour;
            EXPECT_EQ(clock.StandardOffset(instant), Told("KV_STANDARD")) << hour.count();
            EXPECT_TRUE(actual == minutes::min() || clock.UtcOffset(instant + 999ms) == actual);
        }
    }
    for (const auto year : {100y, 2500y, 9999y}) {
        const sys_seconds instant = sys_days(year / March / 1);
        EXPECT_LE(abs(clock.UtcOffset(instant)), 26h);
        EXPECT_LE(abs(clock.StandardOffset(instant).value_or(27h)), 26h);
    }
}

// The resource library beside the test program is one for 32-bit machines, whatever this one is.
TEST(LibrariesContract, StringsAreReadInTheSystemCodePage) {
    const platform::System& system = platform::NativeSystem();
    const auto resources = system.libraries.LoadResources("kv_test_strings.dll");
    ASSERT_TRUE(resources) << resources.Error().Message();
    for (const auto& [id, limit, text] :
         Table<unsigned, std::size_t, std::string>("strings of a library")) {
        EXPECT_EQ((*resources)->Text(id, limit), FromUtf8(text, system.codePage)) << id;
    }
}

TEST(CodePage, WhatItHasComesBack) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string text{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        bool lossy = true;
        EXPECT_EQ(FromUtf8(ToUtf8(text, 1252), 1252, &lossy), text);
        EXPECT_FALSE(lossy);
        const std::string utf8 = ToUtf8(text, 932);
        if (!text::IsLeadByte(text[0], 932) || utf8.find("\uFFFD") != std::string::npos) continue;
        // Some characters have two codes; the one that counts means the same.
        EXPECT_EQ(ToUtf8(FromUtf8(utf8, 932, &lossy), 932), utf8) << std::hex << pair;
        EXPECT_FALSE(lossy) << std::hex << pair;
    }
}

TEST(CodePage, Conversions) {
    for (const auto& [codePage, bytes, utf8, isLossy] :
         Table<unsigned, std::string, std::string, bool>("texts in code pages")) {
        bool lossy = !isLossy;
        EXPECT_EQ(FromUtf8(utf8, codePage, &lossy), bytes);
        EXPECT_EQ(lossy, isLossy) << utf8;
        EXPECT_TRUE(isLossy || ToUtf8(bytes, codePage) == utf8) << utf8;
    }
    EXPECT_EQ(ToUtf8("a\x81", 932), "a\uFFFD");
    for (const auto& [codePage, text, upper] :
         Table<unsigned, std::string, std::string>("upper case")) {
        EXPECT_EQ(platform::UpperCase(text, codePage), upper) << codePage;
    }
}
