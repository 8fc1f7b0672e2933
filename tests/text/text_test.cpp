#include <gmock/gmock.h>

#include "tests/support/table.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/double_byte.h"
#include "text/mail_view.h"
#include "text/path.h"
#include "text/utf.h"

namespace test {

using namespace std::literals;
using ::testing::ElementsAre;

// Against the C library's "C" locale, where the bytes from 0x80 on are nothing.
TEST(Ascii, LettersAreThoseOfTheCLocale) {
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const char letter = static_cast<char>(byte);
        EXPECT_EQ(text::Lowered({&letter, 1})[0], static_cast<char>(std::tolower(byte)));
        EXPECT_EQ(text::Raised({&letter, 1})[0], static_cast<char>(std::toupper(byte)));
        EXPECT_EQ(text::IsLetter(letter), std::isalpha(byte) != 0);
        EXPECT_EQ(text::IsControl(letter), std::iscntrl(byte) != 0);
        EXPECT_EQ(text::IsAscii("a"s + letter), byte < 0x80);
        const int value = std::isxdigit(byte) ? std::stoi(std::string(1, letter), nullptr, 16) : -1;
        EXPECT_EQ(text::HexValue(letter), value);
        EXPECT_EQ(std::stoi(text::Hex({&letter, 1}), nullptr, 16), byte);
    }
    EXPECT_FALSE(text::EqualNoCase("\xC4", "\xE4") || text::EqualNoCase("ab", "abc"));
    EXPECT_EQ(text::NumberIn<unsigned>("fF", 16), 255u);
    for (const auto* none : {"", " 1", "1 ", "+1", "0x1", "99999999999"}) {
        EXPECT_FALSE(text::NumberIn<int>(none)) << none;
    }
}

TEST(Ascii, TrimsAndTakesLines) {
    EXPECT_EQ(text::Trimmed(" \r\n\ta b\v\t "), "a b\v");
    EXPECT_EQ(text::WithoutControls("\x7F\n a\tb\r\n"), "a b");
    EXPECT_EQ(text::Joined({"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(text::Replaced("aabaa", "aa", "xyz"), "xyzbxyz");
    EXPECT_EQ(text::WithCrLf("a\r\n\n\r\r\nb\rc"), "a\r\n\r\n\r\n\r\nb\r\nc");
    EXPECT_EQ(text::WithLineFeeds("\r\na\r\r\nb\n\r\n\r\r\r\nc\rd\0\r\n\r"sv),
              "\na\nb\n\n\nc\rd\0\n\r"sv);
    std::string_view rest = "a\r\n\nb";
    for (const char* line : {"a\r\n", "\n", "b", ""}) EXPECT_EQ(text::TakeLine(rest), line);
    rest = ";,a,;b;";
    EXPECT_EQ(text::TakeToken(rest, ",;"), "a");
    EXPECT_EQ(text::TakeToken(rest, ","), ";b;");
    EXPECT_EQ(text::TakeToken(rest, ","), std::nullopt);
}

TEST(Utf, EveryCharacterComesBack) {
    for (char32_t character = 0; character < 0x110000; character += character < 0x900 ? 1 : 61) {
        if (character >= 0xD800 && character < 0xE000) continue;
        std::string utf8;
        std::u16string utf16;
        text::AppendUtf8(character, utf8);
        text::AppendUtf16(character, utf16);
        std::string_view rest8 = utf8;
        std::u16string_view rest16 = utf16;
        EXPECT_TRUE(text::TakeUtf8(rest8) == character);
        EXPECT_TRUE(text::TakeUtf16(rest16) == character);
        EXPECT_TRUE(rest8.empty() && rest16.empty()) << static_cast<unsigned>(character);
        EXPECT_EQ(text::Utf16FromBytes(text::BytesFromUtf16(utf16)), utf16);
    }
}

TEST(Utf, OneByteIsTakenOfWhatIsNoCharacter) {
    for (std::string_view text :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF8\x90\x80\x80", "\xC3", "\xC3(", "\xE2\x82", "\xBF\x80"}) {
        const auto behind = text.substr(1);
        EXPECT_TRUE(!text::IsUtf8(text) && text::TakeUtf8(text) == text::kNoCharacter) << behind;
        EXPECT_EQ(text, behind);
    }
    std::u16string_view lone = u"\xDC00\xD800";
    EXPECT_TRUE(text::TakeUtf16(lone) == 0xDC00 && text::TakeUtf16(lone) == 0xD800);
}

TEST(Calendar, OleDatesAreMomentsAndTimesHaveTexts) {
    for (const auto& [ole, expected] : Table<double, std::string>("OLE dates")) {
        const auto time = text::FromOleDate(ole);
        EXPECT_EQ(time ? text::IsoText(*time) : "", expected);
        EXPECT_TRUE(!time || text::FromOleDate(text::ToOleDate(*time).value_or(0)) == time) << ole;
    }
    EXPECT_FALSE(text::ToOleDate(std::chrono::local_days{std::chrono::year{10000} / 1 / 1}));
    const auto night = text::CivilTime(std::chrono::system_clock::from_time_t(5), -1h);
    EXPECT_EQ(text::Format("%a, %-d %b %Y %I:%M [%_m/%d] %H%S", night),
              "Wed, 31 Dec 1969 11:00 [12/31] 2305");
    EXPECT_EQ(text::Format("%-d/%-m %_d/%_m %I %a", night + 1h), "1/1  1/ 1 00 Thu");
    EXPECT_EQ(text::Format("%I", night - 11h), "12");
    EXPECT_EQ(text::ZoneText(-12600s) + text::ZoneText(45900s), "-0330+1245");
}

TEST(Calendar, ReadsDatesOfMails) {
    for (const auto& [mail, expected] : Rows<2>("dates of mails")) {
        const auto date = text::ReadMailDate(mail);
        const auto zone = date && date->zone ? text::ZoneText(*date->zone) : "";
        EXPECT_EQ(date ? text::IsoText(date->time) + zone : "", expected) << mail;
    }
}

TEST(Path, Splits) {
    using Parts = std::array<std::string, 4>;
    for (const auto& [codePage, path, drive, folder, name, extension] :
         Table<unsigned, std::string, std::string, std::string, std::string, std::string>(
             "parts of paths")) {
        const auto parts = text::SplitPath(path, codePage);
        EXPECT_EQ((Parts{parts.drive, parts.folder, parts.name, parts.extension}),
                  (Parts{drive, folder, name, extension}));
        EXPECT_EQ(text::JoinPath(parts), path);
        EXPECT_EQ(text::NameIn(path, codePage), parts.name + parts.extension);
    }
    EXPECT_THAT(text::NamesIn("\\..\\a/.\\\x95\\b\\x\\..\\\\c", 932),
                ElementsAre("a", "\x95\\b", "c"));
    EXPECT_THAT(text::NamesIn("a\\..\\..\\b\\", 1252), ElementsAre("b"));
    EXPECT_EQ(text::WithSeparator("a\x95\\", 1252), "a\x95\\");
    EXPECT_EQ(text::WithSeparator("a\x95\\", 932), "a\x95\\\\");
    const std::size_t whole[] = {0, 1, 1, 3, 4, 5, 5, 5};
    for (std::size_t limit = 0; limit < 8; ++limit) {
        EXPECT_EQ(text::WholeCharacterPrefix("a\x95\\b\x95", limit, 932), whole[limit]);
    }
    EXPECT_FALSE(text::ContainsText("\x83\x42", "\x42", 932));
    EXPECT_TRUE(text::ContainsText("a\x95\\b", "b", 932) && text::ContainsText("", "", 932));
}

TEST(Path, PlainNamesLeadNowhere) {
    for (const auto& [codePage, names, isPlain] :
         Table<unsigned, std::string, bool>("names of files")) {
        std::string_view rest = names;
        do {
            const auto word = text::TakeToken(rest, " ").value_or("");
            const std::string name = text::Replaced(word, "~", " ");
            SCOPED_TRACE(name);
            EXPECT_EQ(text::IsPlainFileName(name, codePage), isPlain);
            const auto last = text::PlainNameIn("D:\\a/" + name, codePage);
            EXPECT_TRUE(isPlain ? last == name : last.find_first_of("/\\:") == last.npos) << last;
        } while (!rest.empty());
    }
}

TEST(MailView, TakesHeaderApart) {
    const std::string separator = "From ?\?\?@?\?? Wed Jan 02 02:03:55 1980";
    const std::string bytes = separator +
                              "\r\n stray\r\nto: a@b.c,\r\n\td@e.f\r\nno field here\r\n still: none"
                              "\r\nTO : g@h.i\r\nFrom\n : x\nSubject:  one\r\n  two \r\n\r\nFrom: "
                              "in the body\r\r\n\nlast";
    const text::MailView mail(bytes);
    EXPECT_EQ(mail.Separator(), separator);
    EXPECT_EQ(mail.AllFields("To"), "a@b.c, d@e.f, g@h.i");
    EXPECT_EQ(mail.Field("Subject"), "one two");
    EXPECT_EQ(mail.Field("From"), std::nullopt);
    EXPECT_EQ(mail.Body(), "From: in the body\r\r\n\nlast");
    EXPECT_FALSE(text::MailView("Subject: x\r\n").HasBody());
    for (const char* none : {"\r\nbody", "\nbody"}) EXPECT_EQ(text::MailView(none).Body(), "body");
}

}  // namespace test
