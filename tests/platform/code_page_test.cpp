#include "platform/os/code_page.h"

#include <gmock/gmock.h>

#include "platform/os/path.h"

namespace test {

using platform::FromUtf8;
using platform::ToUtf8;

TEST(CodePage, EveryByteOf1252ComesBack) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    bool lossy = true;
    const std::string utf8 = ToUtf8(all, 1252);
    EXPECT_EQ(FromUtf8(utf8, 1252, &lossy), all);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(ToUtf8("\x80\x81\x9F\xFF", 1252), "\u20AC\u0081\u0178\u00FF");
}

TEST(CodePage, EveryCharacterOf932ComesBack) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const char bytes[] = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        const std::string text(bytes, 2);
        if (!platform::IsLeadByte(static_cast<unsigned char>(bytes[0]), 932)) continue;
        const std::string utf8 = ToUtf8(text, 932);
        if (utf8.find("\uFFFD") != std::string::npos) continue;
        bool lossy = true;
        const std::string back = FromUtf8(utf8, 932, &lossy);
        EXPECT_FALSE(lossy) << std::hex << pair;
        // Some characters have two codes; the one that counts means the same.
        EXPECT_EQ(ToUtf8(back, 932), utf8) << std::hex << pair;
    }
}

TEST(CodePage, Conversions) {
    struct Case {
        unsigned codePage;
        std::string bytes, utf8;
    };
    const Case cases[] = {
        {1252, "", ""},
        {1252, "caf\xE9 \x97 \x99", "caf\u00E9 \u2014 \u2122"},
        {932, "\x8D\xC5\x8B\xDF\x82\xCC%d\x93\xFA\x8A\xD4", "\u6700\u8FD1\u306E%d\u65E5\u9593"},
        {932, "\x83\x5C\x95\x5C|~\\", "\u30BD\u8868|~\\"},
        {932, "\xB1\xDE", "\uFF71\uFF9E"},
        {932, "\x81\x60\x87\x40\xFA\x5C\x81\xE6", "\uFF5E\u2460\u7E8A\u2235"},
        {1251, "\xCF\xF0\xE8", "\u041F\u0440\u0438"},
        {65001, "\xE3\x81\x82", "\u3042"},
        {4711, "\x80", "\u20AC"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.utf8);
        EXPECT_EQ(ToUtf8(c.bytes, c.codePage), c.utf8);
        EXPECT_EQ(FromUtf8(c.utf8, c.codePage), c.bytes);
    }
}

TEST(CodePage, WhatDoesNotFitBecomesAQuestionMark) {
    struct Case {
        unsigned codePage;
        std::string utf8, bytes;
    };
    const Case cases[] = {
        {1252, "a\u3042b", "a?b"},
        {1252, "\u0101\u2032\uFF21\u221E", "????"},  // no letters that merely look alike
        {1252, "\u0080", "?"},                       // that byte is the euro sign
        {932, "\u00E9\u00A5\u301C", "???"},
        {1252, "\U0001F4E7", "?"},
        {1252, "a\xFF\xC3", "a??"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.utf8);
        bool lossy = false;
        EXPECT_EQ(FromUtf8(c.utf8, c.codePage, &lossy), c.bytes);
        EXPECT_TRUE(lossy);
    }
    EXPECT_EQ(ToUtf8("a\x81", 932), "a\uFFFD");
}

TEST(Path, Splits) {
    struct Case {
        const char* path;
        const char *drive, *folder, *name, *extension;
        unsigned codePage = 1252;
    };
    const Case cases[] = {
        {"C:\\a\\b.c\\d.e.txt", "C:", "\\a\\b.c\\", "d.e", ".txt"},
        {"C:d", "C:", "", "d", ""},
        {"\\a/b.", "", "\\a/", "b", "."},
        {".txt", "", "", "", ".txt"},
        {"C:\\a.b\\", "C:", "\\a.b\\", "", ""},
        {"\x95\\a", "", "\x95\\", "a", ""},
        {"\x95\\a.t", "", "", "\x95\\a", ".t", 932},
        {"x\\\x95\\\\b", "", "x\\\x95\\\\", "b", "", 932},
        {"", "", "", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const auto parts = platform::SplitPath(c.path, c.codePage);
        EXPECT_EQ(parts.drive, c.drive);
        EXPECT_EQ(parts.folder, c.folder);
        EXPECT_EQ(parts.name, c.name);
        EXPECT_EQ(parts.extension, c.extension);
        EXPECT_EQ(platform::JoinPath(parts), c.path);
    }
}

TEST(Path, CutsBetweenCharacters) {
    for (std::size_t limit = 0; limit < 8; ++limit) {
        const auto length = platform::WholeCharacterPrefix("a\x95\\b\x95", limit, 932);
        const std::size_t expected[] = {0, 1, 1, 3, 4, 5, 5, 5};
        EXPECT_EQ(length, expected[limit]) << limit;
    }
}

}  // namespace test
