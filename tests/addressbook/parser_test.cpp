#include <gtest/gtest.h>

#include <string>

#include "addressbook/record_map.h"
#include "tests/support/failing_allocation.h"

using addressbook::FileBytes;
using addressbook::RecordMap;

namespace {

// "nick|name|address|phone|fax|note|mail,mail" for each record, in order, one a line.
std::string Read(std::string_view content) {
    RecordMap map;
    map.Load(FileBytes::CopyOf(content));
    std::string out;
    for (auto at = map.First(); !at.IsEnd(); at = map.Next(at)) {
        const auto& r = *map.RecordAt(at);
        EXPECT_EQ(map.KeyAt(at), r.szNickname);
        EXPECT_EQ(map.Find(map.KeyAt(at)), at);
        out += std::string(r.szNickname) + '|' + r.csName.Str() + '|' + r.csAddress.Str() + '|' +
               r.csPhone.Str() + '|' + r.csFax.Str() + '|' + r.csNote.Str() + '|';
        std::string mails;
        for (const auto& mail : r.arrEmail) mails += (mails.empty() ? "" : ",") + mail.Str();
        out += mails + '\n';
    }
    return out;
}

struct Case {
    std::string content, records;
};

class ParserTest : public ::testing::TestWithParam<Case> {};

TEST_P(ParserTest, ReadsTheRecords) {
    EXPECT_EQ(Read(GetParam().content), GetParam().records) << GetParam().content;
}

const std::string kName39(39, 'n');
const std::string kName40(40, 'n');
using namespace std::string_literals;

INSTANTIATE_TEST_SUITE_P(
    Forms, ParserTest,
    ::testing::Values(
        Case{"", ""},
        Case{"alias bob addr1, addr2 ,,addr3\r\nnote bob <name:Bob Smith><phone:123>call first",
             "bob|Bob Smith||123||call first|addr1,addr2,addr3\n"},
        Case{"alias \"Ann Lee\" addr4\r\nnote \"Ann Lee\" plain text\r\n",
             "Ann Lee|||||plain text|addr4\n"},
        Case{"alias carl a5\nnote carl text<fax:9>tail<name:C>mid\n", "carl|C|||9|mid|a5\n"},
        Case{"alias b 1\nalias a 2\nalias B 3\nalias ab 4\nalias \xE9 5\n",
             "B||||||3\na||||||2\nab||||||4\nb||||||1\n\xE9||||||5\n"},
        // The quoted form asks for the quote at index 6; any line may have one there.
        Case{"alias  \"x\" a\n", "\"x\"||||||a\n"}, Case{"ab cd \"x y\" z\n", "cd ||||||x y\" z\n"},
        Case{"alias \"Ann\"a,b\n", "Ann||||||a,b\n"},
        // Without a blank behind it, a nickname goes on to the LF.
        Case{"alias bob\n", "bob||||||\n"}, Case{"alias bob\r\n", "bob\r||||||\n"},
        Case{"alias bob ", "bob||||||\n"},
        Case{"alias x Ann Lee <ann@x>,b\r\n", "x||||||Ann Lee <ann@x>,b\n"},
        Case{"alias x \"Lee, Ann\" <a>\r\n", "x||||||\"Lee,Ann\" <a>\n"},
        Case{"alias x \t a \v,\f,b\t\r\n", "x||||||a,b\n"}, Case{"alias x a\rb\r\n", "x||||||a\n"},
        // A later record of the same nickname stays out, with its note line.
        Case{"alias x a\nnote x 1\nalias x b\nnote x 2\n", "x|||||1|a\n"},
        Case{"alias \x83\x5c\x83\x22\x83\x3c a\n", "\x83\x5c\x83\x22\x83\x3c||||||a\n"}));

INSTANTIATE_TEST_SUITE_P(
    NoteLines, ParserTest,
    ::testing::Values(Case{"alias bob a\nnote bob", "bob||||||a\n"},
                      Case{"alias bob a\nnote bob ", "bob||||||a\n"},
                      Case{"alias bobby a\nnote bob text\n", "bobby||||||a\n"},
                      Case{"alias bo a\nnote bob text\n", "bo||||| text|a\n"},
                      Case{"alias bob a\nnote bob a<b\n", "bob|||||b|a\n"},
                      Case{"alias bob a\nnotebook a b\n", "bob||||||a\n"},
                      Case{"alias bob a\nnote bob <Name:x>\n", "bob|||||Name:x|a\n"},
                      Case{"alias bob a\nnote bob <name:A> <fax:1>\n", "bob|A|||1| |a\n"},
                      Case{"alias bob a\nnote bob <name:A>name:B\n", "bob|B|||||a\n"},
                      Case{"alias bob a\nnote bob <name: A ><name:>\n", "bob| A |||||a\n"},
                      Case{"alias bob a\nnote bob <address:1 Way\x03Town>\n",
                           "bob||1 Way\x03Town||||a\n"},
                      Case{"alias bob a\nnote <name:A>\n", "bob||||||a\n"},
                      Case{"alias bob a\nnote bob x\ry\r\n", "bob|||||y|a\n"},
                      Case{"alias \"A L\" a\nnote A L x\n", "A L|||||x|a\n"},
                      // Not behind an alias line, a note line is a record line.
                      Case{"note bob x, y\n", "bob||||||x,y\n"},
                      Case{"alias a 1\nnote a x\nnote b y\nnote b z\n", "a|||||x|1\nb|||||z|y\n"},
                      Case{"note \"Ann Lee\" x\n", "\"Ann||||||Lee\" x\n"}));

INSTANTIATE_TEST_SUITE_P(
    NoRecords, ParserTest,
    ::testing::Values(
        Case{"\r\n\n\r\r\n\r", ""}, Case{"alias", ""}, Case{"alias \r\n   \r\n", ""},
        Case{"alias \"\r\nalias \"\"\n", ""}, Case{"alias groupies addr\r\n", ""},
        Case{"alias \"Group Sales\" a\r\nnote \"Group Sales\" <name:x>\r\nalias b c\r\n",
             "b||||||c\n"},
        Case{"alias GROUP a\nnote group <name:x>\nalias b c\n", "b||||||c\n"},
        // The quotes of a group count for its own note line, and no further.
        Case{"alias \"Group\" a\nalias bob b\n", "bob||||||b\n"},
        Case{"alias \"Group\" a\nnote \"Group\" x\nnote bob y\n", "bob||||||y\n"},
        Case{"alias grou a\n", "grou||||||a\n"},
        Case{"alias " + kName39 + " a\n", kName39 + "||||||a\n"},
        Case{"alias " + kName40 + " a\nnote " + kName40 + " <name:x>\nalias b c\n", "b||||||c\n"},
        Case{"alias a\0b c\n"s, ""}, Case{"foo\nalias b c\nnote b d\n", "b|||||d|c\n"}));

// Records that agree in their first eight, sixteen and more bytes, in every order.
TEST(ParserOrder, SortsLongCommonBeginnings) {
    std::string content, records;
    const std::string stem = "person-with-a-long-name-";
    for (int i = 999; i >= 0; --i) {
        content += "alias " + stem + std::to_string(i * 7 % 1000) + " x\n";
        content += "alias " + std::string(static_cast<std::size_t>(i % 39 + 1), 'p') + " x\n";
    }
    RecordMap map;
    map.Load(FileBytes::CopyOf(content));
    std::string last;
    int count = 0;
    for (auto at = map.First(); !at.IsEnd(); at = map.Next(at), ++count) {
        ASSERT_LT(last, map.KeyAt(at));
        last = map.KeyAt(at);
        ASSERT_EQ(map.Find(last), at) << last;
    }
    EXPECT_EQ(count, 1000 + 39);
    EXPECT_TRUE(map.Find("person-w").IsEnd());
    EXPECT_TRUE(map.Find(stem + "1000").IsEnd());
}

// The room is made for the records that are there, not for as many as a long tail could hold.
TEST(ParserOrder, TakesMemoryByTheRecords) {
    std::string content;
    for (int i = 1000; i < 5200; ++i) content += "alias b" + std::to_string(i) + " \n";
    content += "alias z " + std::string(1 << 23, 'x');
    auto bytes = FileBytes::CopyOf(content);
    const auto before = test::BytesRequested();
    RecordMap().Load(std::move(bytes));
    EXPECT_LT(test::BytesRequested() - before, 1U << 20);
}

}  // namespace
