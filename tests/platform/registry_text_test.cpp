#include "platform/prefix/registry_text.h"

#include <gmock/gmock.h>

#include "platform/prefix/registry_line.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace test {

using platform::prefix::RegistryValue;

namespace {

const auto kNow = std::chrono::system_clock::from_time_t(1'700'000'000);

RegistryValue Text(std::u16string_view text) {
    return {RegistryValue::kText, text::BytesFromUtf16(text)};
}

RegistryValue Number(unsigned char lowest) {
    return {RegistryValue::kNumber, {static_cast<char>(lowest), 0, 0, 0}};
}

const std::string kSample =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to REGISTRY\\\\Machine\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Mail] 1795526577\n"
    "#time=1dd7c16ebd26a1a\n"
    "@=\"by default\"\n"
    "\"Path\"=\"C:\\\\Mail \\x3042\\xe9 \\\"q\\\"\\n\\0end\"\n"
    "\"Twice\"=\"first\"\n"
    "\"Twice\"=\"last\"\n"
    "\"Expand\"=str(2):\"%windir%\\\\x\"\n"
    "\"HexText\"=hex(1):43,00,3a,00,\\\n"
    "  5c,00,00,00\n"
    "\"Count\"=dword:0000002a\n"
    "\"Odd name\\\\=[\"=\"odd\"\n"
    "\"Broken\"=\"hidden\"\n"
    "\"Broken\"=\"no end\n"
    "[Software\\\\After] 1\n"
    "\"Here\"=\"yes\"\n"
    "[Software\\\\Lost\n"
    "\"Here\"=\"no key of its own\"\n"
    "\n"
    "[Software\\\\mail] 2\n"
    "\"Late\"=\"second part\"\n"
    "[Software\\\\A\\[b\\]\\x3042] 3\n"
    "\"x\"=\"bracket\"\n";

}  // namespace

TEST(RegistryText, Finds) {
    struct Case {
        std::u16string key, name;
        std::optional<RegistryValue> expected;
    };
    const Case cases[] = {
        {u"Software\\Mail", u"", Text(u"by default")},
        {u"SOFTWARE\\MAIL", u"path",
         Text(std::u16string(u"C:\\Mail \u3042\u00E9 \"q\"\n\0end", 19))},
        {u"Software\\Mail", u"Expand", RegistryValue{2, text::BytesFromUtf16(u"%windir%\\x")}},
        {u"Software\\Mail", u"HexText", Text(std::u16string(u"C:\\\0", 4))},
        {u"Software\\Mail", u"Count", Number(42)},
        {u"Software\\Mail", u"Odd name\\=[", Text(u"odd")},
        {u"Software\\Mail", u"Late", Text(u"second part")},
        {u"Software\\A[b]\u3042", u"X", Text(u"bracket")},
        {u"Software\\Mail", u"Broken", {}},
        {u"Software\\Mail", u"Here", {}},
        {u"Software\\Lost", u"Here", {}},
        {u"\\Software\\\\Mail\\", u"Twice", Text(u"last")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(platform::prefix::Escape(c.key + u"|" + c.name, false));
        EXPECT_EQ(platform::prefix::FindValue(kSample, c.key, c.name), c.expected);
        const auto withCrLf = text::WithCrLf(kSample);
        EXPECT_EQ(platform::prefix::FindValue(withCrLf, c.key, c.name), c.expected);
    }
}

TEST(RegistryText, WritesInTheFormOfItsNeighbours) {
    struct Case {
        std::string before;
        std::u16string key, name;
        RegistryValue value;
        std::string after;
    };
    const Case cases[] = {
        {"[K] 1\n\"a\"=\"old\"\n", u"k", u"A", Text(u"new"), "[K] 1\n\"a\"=\"new\"\n"},
        {"[K] 1\n\"a\"=\"old\" \n;c\n", u"K", u"a", Number(7), "[K] 1\n\"a\"=dword:00000007\n;c\n"},
        {"[K] 1\n\"a\"=hex:01,\\\n  02\n\n[L] 1\n", u"K", u"a", Text(u"x"),
         "[K] 1\n\"a\"=\"x\"\n\n[L] 1\n"},
        {"[K] 1\n#time=1\n\n[L] 1\n", u"K", u"", Text(u"d"), "[K] 1\n#time=1\n@=\"d\"\n\n[L] 1\n"},
        {"[K] 1\r\n\"a\"=\"1\"\r\n\r\n", u"K", u"b", Text(u"2"),
         "[K] 1\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n\r\n"},
        {"[K] 1\n\"a\"=\"1\"", u"K", u"b", Text(u"2"), "[K] 1\n\"a\"=\"1\"\n\"b\"=\"2\"\n"},
        {"#arch=win32\n", u"S\\[x]", u"n\"", Text(u"v\n\u00E9a\u0301"),
         "#arch=win32\n\n[S\\\\\\[x\\]] 1700000000\n#time=1da1747c66d0000\n"
         "\"n\\\"\"=\"v\\n\\x00e9a\\x301\"\n"},
        {"[K] 1\n\"a\"=\"1\"\n\"A\"=\"no end\n", u"K", u"a", Text(u"v"),
         "[K] 1\n\"a\"=\"1\"\n\"A\"=\"v\"\n"},
        {"[K] 1\n\"a\"=\"1\"\r", u"K", u"b", Text(u"2"), "[K] 1\n\"a\"=\"1\"\r\n\"b\"=\"2\"\n"},
        {"[K] 1\n\"a\"=hex:01,\\\n", u"K", u"b", Text(u"2"),
         "[K] 1\n\"a\"=hex:01,\\\n;\n\"b\"=\"2\"\n"},
        {"[K] 1\n\"a\"=\"\\x76\"\n", u"K", u"a", Text(u"v"), "[K] 1\n\"a\"=\"\\x76\"\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        const std::string after =
            platform::prefix::WithValue(c.before, c.key, c.name, c.value, kNow);
        EXPECT_EQ(after, c.after);
        EXPECT_EQ(platform::prefix::FindValue(after, c.key, c.name), c.value);
    }
}

// What Wine 8 was seen to make of lines that it never writes itself. The value is named "a".
TEST(RegistryText, TakesOddLinesAsWineDoes) {
    const auto hex = [](std::string bytes) { return RegistryValue{3, std::move(bytes)}; };
    const std::pair<std::string, std::optional<RegistryValue>> cases[] = {
        {"\"a\"=\"x\" junk\n", Text(u"x")},
        {" \t\"a\" = \v\"x\"\r\r\n", Text(u"x")},
        {"\"a\"=\"x\ry\"\n", Text(u"x\ry")},
        {std::string("\"a\"=\"x\"\0\"\n", 10), Text(u"x")},
        {std::string("\"a\"=\"x\0y\"\n", 10), {}},
        {"\"a\"=\"x\xE9y\xC3\"\n", Text(u"xy")},
        {"\"a\"=\"x\\\n\"b\"=\"y\"\n", {}},
        {"\"a\"=\"1\"\n\"A\"=-\n", {}},
        {"\"a\"=\"1\"\nrubbish\n\"a\"\n", Text(u"1")},
        {"\"a\"=str(1):\"x\"\n", {}},
        {"\"a\"=DWORD:1\n", {}},
        {"\"a\"=dword: 0x07 junk\n", Number(7)},
        {"\"a\"=dword:11112222333344445555\n", RegistryValue{4, "\xFF\xFF\xFF\xFF"}},
        {"\"a\"=hex:012 , 0x3,\n", hex("\x12\x03")},
        {"\"a\"=hex: 01\n", {}},
        {"\"a\"=hex:0102\n", {}},
        {"\"a\"=hex(1z):61,00\n", {}},
        {"\"a\"=hex:\\\n01\\ junk\n 02\n", hex("\x01\x02")},
        {"\"a\"=hex:01,\\\n\n02\n", hex("\x01")},
        {"\"a\"=hex:01,\\\n[L] 1\n", {}},
        {"\"b\"=hex:01,\\\n[L] 1\n\"a\"=\"x\"\n", Text(u"x")},
        {"\"b\"=hex:01,\\\n\"a\"=\"x\"\n", {}},
        {"[L\n\"b\"=hex:01,\\\n[k] 1\n\"a\"=\"x\"\n", Text(u"x")},
        {"[L] 1\n \t[\\K\\\\]\n\"a\"=\"x\"\n", Text(u"x")},
        {"[K ] 1\n\"a\"=\"x\"\n", {}},
    };
    for (const auto& [lines, expected] : cases) {
        SCOPED_TRACE(lines);
        EXPECT_EQ(platform::prefix::FindValue("[K] 1\n" + lines, u"K", u"a"), expected);
    }
}

}  // namespace test
