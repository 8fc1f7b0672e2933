#include "platform/posix/registry_text.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <vector>

#include "platform/posix/registry_escape.h"
#include "platform/posix/utf.h"

namespace test {

using platform::posix::FindValue;
using platform::posix::RegistryValue;
using platform::posix::WithValue;

namespace {

const auto kNow = std::chrono::system_clock::from_time_t(1'700'000'000);

RegistryValue Text(std::u16string_view text) {
    return {RegistryValue::kText, platform::posix::BytesFromUtf16(text)};
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
    "\"Broken\"=\"no end\n"
    "\"Broken2\"=dword:xyz\n"
    "\"HexBad\"=hex:01,\\\n"
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
        {u"Software\\Mail", u"Twice", Text(u"last")},
        {u"Software\\Mail", u"Expand",
         RegistryValue{2, platform::posix::BytesFromUtf16(u"%windir%\\x")}},
        {u"Software\\Mail", u"HexText", Text(std::u16string(u"C:\\\0", 4))},
        {u"Software\\Mail", u"Count", Number(42)},
        {u"Software\\Mail", u"Odd name\\=[", Text(u"odd")},
        {u"Software\\Mail", u"Late", Text(u"second part")},
        {u"Software\\After", u"Here", Text(u"yes")},
        {u"Software\\A[b]\u3042", u"X", Text(u"bracket")},
        {u"Software\\Mail", u"Broken", {}},
        {u"Software\\Mail", u"Broken2", {}},
        {u"Software\\Mail", u"Here", {}},
        {u"Software\\Lost", u"Here", {}},
        {u"Software", u"", {}},
        {u"Software\\Mail\\", u"Path", {}},
        {u"", u"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(platform::posix::Escape(c.key + u"|" + c.name, false));
        EXPECT_EQ(FindValue(kSample, c.key, c.name), c.expected);
        std::string carriageReturns;
        for (const char letter : kSample) {
            carriageReturns += letter == '\n' ? "\r\n" : std::string(1, letter);
        }
        EXPECT_EQ(FindValue(carriageReturns, c.key, c.name), c.expected) << "with CR LF";
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
        {"[K] 1\n\"a\"=\"no end\n", u"K", u"a", Text(u"v"), "[K] 1\n\"a\"=\"no end\n\"a\"=\"v\"\n"},
        {"[K] 1\n\"a\"=\"\\x76\"\n", u"K", u"a", Text(u"v"), "[K] 1\n\"a\"=\"\\x76\"\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        const std::string after = WithValue(c.before, c.key, c.name, c.value, kNow);
        EXPECT_EQ(after, c.after);
        EXPECT_EQ(FindValue(after, c.key, c.name), c.value);
    }
}

// Random writes into a real-looking file: each value written is found again, all others are what
// they were, and outside the written lines no byte has changed: what was there is still there, in
// its order.
TEST(RegistryText, EveryOtherByteStays) {
    std::mt19937 random(11);
    const auto pick = [&](const auto& list) { return list[random() % std::size(list)]; };
    const std::vector<std::u16string> keys{u"Software\\Mail", u"Software\\After", u"New\\Key",
                                           u"Software\\A[b]\u3042", u"software\\MAIL"};
    const std::vector<std::u16string> names{u"", u"Path", u"Count", u"HexText", u"added", u"Twice"};
    const std::vector<std::u16string> pieces{u"a",      u"7",          u"\\",     u"\"",
                                             u"\n",     u"\u00E9",     u"\u3042", u"]",
                                             u"\u0001", u"\U0001F4E7", u" "};
    std::map<std::pair<std::u16string, std::u16string>, RegistryValue> model;
    const auto lower = [](std::u16string text) {
        for (auto& unit : text) unit = static_cast<char16_t>(platform::posix::FoldCase(unit));
        return text;
    };
    const auto linesOf = [](std::string_view text) {
        std::vector<std::string> lines;
        for (std::size_t at = 0; at < text.size();) {
            const auto end = std::min(text.find('\n', at), text.size() - 1);
            lines.emplace_back(text.substr(at, end - at + 1));
            at = end + 1;
        }
        return lines;
    };
    std::string text = kSample;
    for (int step = 0; step < 400; ++step) {
        const std::u16string key = pick(keys), name = pick(names);
        std::u16string content;
        for (unsigned i = random() % 6; i > 0; --i) content += pick(pieces);
        const bool isNumber = random() % 3 == 0;
        const RegistryValue value =
            isNumber ? Number(static_cast<unsigned char>(random())) : Text(content);
        const std::string before = text;
        text = WithValue(text, key, name, value, kNow);
        SCOPED_TRACE(platform::posix::Escape(key + u"|" + name + u"=" + content, false));
        model[{lower(key), lower(name)}] = value;
        for (const auto& [where, expected] : model) {
            ASSERT_EQ(FindValue(text, where.first, where.second), expected);
        }
        // The change is one stretch: what is before and behind it is equal.
        const auto oldLines = linesOf(before), newLines = linesOf(text);
        const auto [front, frontNew] =
            std::mismatch(oldLines.begin(), oldLines.end(), newLines.begin(), newLines.end());
        const auto [back, backNew] =
            std::mismatch(oldLines.rbegin(), std::make_reverse_iterator(front), newLines.rbegin(),
                          std::make_reverse_iterator(frontNew));
        ASSERT_LE(back.base() - front, 2) << "more old lines gone than one value had";
        ASSERT_LE(backNew.base() - frontNew, 4);
    }
    EXPECT_EQ(FindValue(text, u"Software\\Mail", u"Late"), Text(u"second part"));
    EXPECT_THAT(text, ::testing::HasSubstr("\"Broken\"=\"no end\n\"Broken2\"=dword:xyz\n"));
}

}  // namespace test
