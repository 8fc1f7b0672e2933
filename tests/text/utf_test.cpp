#include "text/utf.h"

#include <gtest/gtest.h>

namespace test {

TEST(Utf, EveryCharacterComesBack) {
    for (char32_t character = 0; character < 0x110000; character += character < 0x900 ? 1 : 61) {
        if (character >= 0xD800 && character < 0xE000) continue;
        std::string utf8;
        std::u16string utf16;
        text::AppendUtf8(character, utf8);
        text::AppendUtf16(character, utf16);
        EXPECT_TRUE(text::IsUtf8(utf8));
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
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC3", "\xC3(", "\xE2\x82", "\xFF"}) {
        EXPECT_FALSE(text::IsUtf8(text)) << text;
        const auto size = text.size();
        EXPECT_TRUE(text::TakeUtf8(text) == text::kNoCharacter);
        EXPECT_EQ(text.size(), size - 1);
    }
    std::u16string_view lone = u"\xDC00\xD800";
    EXPECT_TRUE(text::TakeUtf16(lone) == 0xDC00);
    EXPECT_TRUE(text::TakeUtf16(lone) == 0xD800);
}

}  // namespace test
