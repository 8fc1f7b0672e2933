#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "platform/os/code_page.h"
#include "platform/os/system.h"
#include "text/double_byte.h"

// Runs once for each zone of CMakeLists.txt, which also says what is expected there.

namespace {

using namespace std::chrono;
using platform::FromUtf8;
using platform::ToUtf8;

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
    using Row = std::tuple<unsigned, std::size_t, const char*>;
    for (const auto& [id, limit, text] :
         {Row{1, 1023, "plain"}, Row{1, 3, "pla"}, Row{17, 1023, "\u65E5\u672C\U0001F600x"},
          Row{16, 1023, "Nachname ge\u00E4ndert: M\u00FCller"}, Row{6000, 1023, "far away"},
          Row{15, 1023, ""}, Row{0x10001, 1023, ""}, Row{0xFFFFFFFF, 1023, ""}}) {
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
    // There are no letters that merely look alike, and the byte 0x80 is the euro sign.
    using Row = std::tuple<unsigned, std::string, std::string, bool>;
    for (const auto& [codePage, bytes, utf8, isLossy] :
         {Row{1252, "caf\xE9 \x97 \x99\x80\x81\x9F\xFF",
              "caf\u00E9 \u2014 \u2122\u20AC\u0081\u0178\u00FF", false},
          Row{932, "\x8D\xC5\x8B\xDF\x82\xCC%d\x93\xFA\x8A\xD4", "\u6700\u8FD1\u306E%d\u65E5\u9593",
              false},
          Row{932, "\x83\x5C\x95\x5C|~\\\xB1\xDE", "\u30BD\u8868|~\\\uFF71\uFF9E", false},
          Row{932, "\x81\x60\x87\x40\xFA\x5C\x81\xE6", "\uFF5E\u2460\u7E8A\u2235", false},
          Row{65001, "\xE3\x81\x82", "\u3042", false}, Row{4711, "\x80", "\u20AC", false},
          Row{1252, "a?b", "a\u3042b", true}, Row{1252, "????", "\u0101\u2032\uFF21\u221E", true},
          Row{1252, "?", "\u0080", true}, Row{932, "???", "\u00E9\u00A5\u301C", true},
          Row{1252, "?", "\U0001F4E7", true}, Row{1252, "a??", "a\xFF\xC3", true}}) {
        bool lossy = !isLossy;
        EXPECT_EQ(FromUtf8(utf8, codePage, &lossy), bytes);
        EXPECT_EQ(lossy, isLossy) << utf8;
        EXPECT_TRUE(isLossy || ToUtf8(bytes, codePage) == utf8) << utf8;
    }
    EXPECT_EQ(ToUtf8("a\x81", 932), "a\uFFFD");
    using Letters = std::tuple<unsigned, std::string, std::string>;
    for (const auto& [codePage, text, upper] :
         {Letters{1252, "a\x83\x61z\xE9\xFF\xB5\xDF\x81", "A\x83\x41Z\xC9\x9F\xB5\xDF\x81"},
          Letters{1251, "\xE6\xB8\x9A", "\xC6\xA8\x8A"},
          Letters{932, "a\x83\x61z\x82\x81\x84\x70\xE9", "A\x83\x61Z\x82\x60\x84\x40\xE9"},
          Letters{65001, "\xC3\xA9\xFFz", "\xC3\x89\xFFZ"}}) {
        EXPECT_EQ(platform::UpperCase(text, codePage), upper) << codePage;
    }
}
