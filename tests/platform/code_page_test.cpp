#include "platform/os/code_page.h"

#include <gmock/gmock.h>

#include <tuple>

#include "text/double_byte.h"

namespace test {

using platform::FromUtf8;
using platform::ToUtf8;

TEST(CodePage, WhatItHasComesBack) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string text{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        bool lossy = true;
        EXPECT_EQ(FromUtf8(ToUtf8(text, 1252), 1252, &lossy), text);
        EXPECT_FALSE(lossy);
        if (!text::IsLeadByte(text[0], 932)) continue;
        const std::string utf8 = ToUtf8(text, 932);
        if (utf8.find("\uFFFD") != std::string::npos) continue;
        const std::string back = FromUtf8(utf8, 932, &lossy);
        EXPECT_FALSE(lossy) << std::hex << pair;
        // Some characters have two codes; the one that counts means the same.
        EXPECT_EQ(ToUtf8(back, 932), utf8) << std::hex << pair;
    }
}

TEST(CodePage, Conversions) {
    using Row = std::tuple<unsigned, std::string, std::string>;
    for (const auto& [codePage, bytes, utf8] :
         {Row{1252, "caf\xE9 \x97 \x99\x80\x81\x9F\xFF",
              "caf\u00E9 \u2014 \u2122\u20AC\u0081\u0178\u00FF"},
          Row{932, "\x8D\xC5\x8B\xDF\x82\xCC%d\x93\xFA\x8A\xD4",
              "\u6700\u8FD1\u306E%d\u65E5\u9593"},
          Row{932, "\x83\x5C\x95\x5C|~\\\xB1\xDE", "\u30BD\u8868|~\\\uFF71\uFF9E"},
          Row{932, "\x81\x60\x87\x40\xFA\x5C\x81\xE6", "\uFF5E\u2460\u7E8A\u2235"},
          Row{65001, "\xE3\x81\x82", "\u3042"}, Row{4711, "\x80", "\u20AC"}}) {
        EXPECT_EQ(ToUtf8(bytes, codePage), utf8);
        EXPECT_EQ(FromUtf8(utf8, codePage), bytes);
    }
    // No letters that merely look alike, and the byte 0x80 is the euro sign.
    for (const auto& [codePage, bytes, utf8] :
         {Row{1252, "a?b", "a\u3042b"}, Row{1252, "????", "\u0101\u2032\uFF21\u221E"},
          Row{1252, "?", "\u0080"}, Row{932, "???", "\u00E9\u00A5\u301C"},
          Row{1252, "?", "\U0001F4E7"}, Row{1252, "a??", "a\xFF\xC3"}}) {
        bool lossy = false;
        EXPECT_EQ(FromUtf8(utf8, codePage, &lossy), bytes);
        EXPECT_TRUE(lossy) << utf8;
    }
    EXPECT_EQ(ToUtf8("a\x81", 932), "a\uFFFD");
}

TEST(CodePage, RaisesTheLettersThatItHas) {
    using Row = std::tuple<unsigned, std::string, std::string>;
    for (const auto& [codePage, text, upper] :
         {Row{1252, "a\x83\x61z\xE9\xFF\xB5\xDF\x81", "A\x83\x41Z\xC9\x9F\xB5\xDF\x81"},
          Row{1251, "\xE6\xB8\x9A", "\xC6\xA8\x8A"},
          Row{932, "a\x83\x61z\x82\x81\x84\x70\xE9", "A\x83\x61Z\x82\x60\x84\x40\xE9"},
          Row{65001, "\xC3\xA9\xFFz", "\xC3\x89\xFFZ"}}) {
        EXPECT_EQ(platform::UpperCase(text, codePage), upper) << codePage;
    }
}

}  // namespace test
