#include "text/path.h"

#include <gmock/gmock.h>

#include <tuple>

#include "text/double_byte.h"

namespace test {

using ::testing::ElementsAre;

TEST(Path, Splits) {
    using Row = std::tuple<const char*, const char*, unsigned>;
    for (const auto& [path, expected, codePage] :
         {Row{"C:\\a\\b.c\\d.e.txt", "C:|\\a\\b.c\\|d.e|.txt", 1252}, Row{"C:d", "C:||d|", 1252},
          Row{"\\a/b.", "|\\a/|b|.", 1252}, Row{".txt", "|||.txt", 1252},
          Row{"C:\\a.b\\", "C:|\\a.b\\||", 1252}, Row{"\x95\\a", "|\x95\\|a|", 1252},
          Row{"\x95\\a.t", "||\x95\\a|.t", 932}, Row{"x\\\x95\\\\b", "|x\\\x95\\\\|b|", 932}}) {
        const auto parts = text::SplitPath(path, codePage);
        EXPECT_EQ(parts.drive + '|' + parts.folder + '|' + parts.name + '|' + parts.extension,
                  expected);
        EXPECT_EQ(text::JoinPath(parts), path);
        EXPECT_EQ(text::NameIn(path, codePage), parts.name + parts.extension);
        const auto closed = text::WithSeparator(parts.folder + "\x95", codePage);
        EXPECT_EQ(closed, parts.folder + "\x95\\");
        EXPECT_EQ(text::WithSeparator(closed, 1252), closed);
    }
    EXPECT_EQ(text::LastSeparator("a:b:c", 1252), 1u);
    EXPECT_EQ(text::LastSeparator("abc", 1252), std::string_view::npos);
    EXPECT_THAT(text::NamesIn("\\..\\a/.\\\x95\\b\\x\\..\\\\c", 932),
                ElementsAre("a", "\x95\\b", "c"));
    EXPECT_THAT(text::NamesIn("a\\..\\..\\b\\", 1252), ElementsAre("b"));
    EXPECT_THAT(text::NamesIn("", 1252), ElementsAre());
}

TEST(Path, CharactersOfTwoBytesStayWhole) {
    const std::size_t expected[] = {0, 1, 1, 3, 4, 5, 5, 5};
    for (std::size_t limit = 0; limit < 8; ++limit) {
        EXPECT_EQ(text::WholeCharacterPrefix("a\x95\\b\x95", limit, 932), expected[limit]);
    }
    EXPECT_EQ(text::FindLastOf("\\\x95\\", "\\", 932), 0u);
    EXPECT_TRUE(text::ContainsText("\x83\x41\x42", "\x42", 932));
    EXPECT_FALSE(text::ContainsText("\x83\x42", "\x42", 932));
    EXPECT_TRUE(text::ContainsText("a\x95\\b", "b", 932));
    EXPECT_FALSE(text::ContainsText("a\x95\\b", "\\", 932));
    EXPECT_TRUE(text::ContainsText("", "", 932));
}

TEST(Path, PlainNamesLeadNowhere) {
    for (const auto* name :
         {"..\\x",    "../x",   "..",          ".",           "...",     "",
          "C:x",      "\\x",    "a:stream",    "con",         "lpt9.z",  "NUL.txt",
          "Aux .x.y", "CONIN$", "COM\xB2.txt", "com\xC2\xB9", "a\nb",    "a\"b",
          "a*",       "what?",  "prn.",        "COM1",        "clock$.a"}) {
        EXPECT_FALSE(text::IsPlainFileName(name, 1252)) << name;
        EXPECT_EQ(text::PlainNameIn(name, 1252).find_first_of("/\\:"), std::string::npos) << name;
    }
    for (const auto* name : {"..a", "a..b", ".profile", "CONS", "COM", "COM0", "COM10.x", "comet",
                             "COM\xC2"
                             "1",
                             "a b", "nul2", "\xE9t\xE9.txt"}) {
        EXPECT_TRUE(text::IsPlainFileName(name, 1252)) << name;
        EXPECT_EQ(text::PlainNameIn(std::string("D:\\a/") + name, 1252), name);
    }
    // The second byte of a character is no bar, but no character has a slash as its second byte.
    EXPECT_TRUE(text::IsPlainFileName("\x83\x7C.txt", 932));
    EXPECT_FALSE(text::IsPlainFileName("\x83\x7C.txt", 1252));
    EXPECT_FALSE(text::IsPlainFileName("\x81/..\\x", 932));
}

}  // namespace test
