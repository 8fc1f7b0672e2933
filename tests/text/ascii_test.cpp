#include "text/ascii.h"

#include <gmock/gmock.h>

namespace test {

using namespace std::literals;

// Against the C library's "C" locale, where the bytes from 0x80 on are nothing.
TEST(Ascii, LettersAreThoseOfTheCLocale) {
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const char letter = static_cast<char>(byte);
        EXPECT_EQ(text::Lower(letter), static_cast<char>(std::tolower(byte)));
        EXPECT_EQ(text::Upper(letter), static_cast<char>(std::toupper(byte)));
        EXPECT_EQ(text::IsLetter(letter), std::isalpha(byte) != 0);
        EXPECT_EQ(text::IsDigit(letter), std::isdigit(byte) != 0);
        EXPECT_EQ(text::IsControl(letter), std::iscntrl(byte) != 0);
        EXPECT_EQ(text::IsAscii("a"s + letter), byte < 0x80);
        const int value = std::isxdigit(byte) ? std::stoi(std::string(1, letter), nullptr, 16) : -1;
        EXPECT_EQ(text::HexValue(letter), value);
        EXPECT_EQ(std::stoi(text::Hex({&letter, 1}), nullptr, 16), byte);
    }
}

TEST(Ascii, ComparesWithoutCase) {
    EXPECT_TRUE(text::EqualNoCase("X-Html\xC4", "x-hTML\xC4"));
    EXPECT_FALSE(text::EqualNoCase("\xC4", "\xE4"));
    EXPECT_FALSE(text::EqualNoCase("ab", "abc"));
    EXPECT_TRUE(text::StartsWithNoCase("MailTo:a", "mailto:"));
    EXPECT_FALSE(text::StartsWithNoCase("mail", "mailto:"));
    EXPECT_EQ(text::Lowered("A@[z\xC4"), "a@[z\xC4");
    EXPECT_EQ(text::Raised("a`{Z\xE4"), "A`{Z\xE4");
}

TEST(Ascii, NumbersAreWholeTexts) {
    EXPECT_EQ(text::NumberIn<int>("-12"), -12);
    EXPECT_EQ(text::NumberIn<unsigned>("fF", 16), 255u);
    for (const auto* none : {"", " 1", "1 ", "+1", "0x1", "99999999999"}) {
        EXPECT_FALSE(text::NumberIn<int>(none)) << none;
    }
}

TEST(Ascii, TrimsAndTakesLines) {
    EXPECT_EQ(text::Trimmed(" \r\n\ta b\v\t "), "a b\v");
    EXPECT_EQ(text::Trimmed(". a. ", " ."), "a");
    EXPECT_EQ(text::Trimmed(" \t"), "");
    EXPECT_EQ(text::TrimmedFront(" a "), "a ");
    EXPECT_EQ(text::TrimmedBack(" a "), " a");
    EXPECT_EQ(text::WithoutControls("\x7F\n a\tb\r\n"), "a b");
    std::string_view rest = "a\r\n\nb";
    for (const char* line : {"a\r\n", "\n", "b", ""}) EXPECT_EQ(text::TakeLine(rest), line);
    EXPECT_EQ(text::Joined({"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(text::Replaced("aabaa", "aa", "xyz"), "xyzbxyz");
    EXPECT_EQ(text::Replaced("\n\n", "\n", ""), "");
    EXPECT_EQ(text::WithCrLf("a\r\n\n\r\r\nb\rc"), "a\r\n\r\n\r\n\r\nb\r\nc");
    rest = ";,a,;b;";
    EXPECT_EQ(text::TakeToken(rest, ",;"), "a");
    EXPECT_EQ(text::TakeToken(rest, ","), ";b;");
    EXPECT_EQ(text::TakeToken(rest, ","), std::nullopt);
    EXPECT_EQ(text::WithLineFeeds("\r\na\r\r\nb\n\r\n\r\r\r\nc\rd\0\r\n\r"sv),
              "\na\nb\n\n\nc\rd\0\n\r"sv);
}

}  // namespace test
