#include <gtest/gtest.h>

#include <string>

#include "addressbook/record_map.h"
#include "tests/support/failing_allocation.h"

using addressbook::FileBytes;
using addressbook::RecordMap;

namespace {

FileBytes BytesOf(std::string_view text) {
    FileBytes bytes{platform::AllocateBlock(text.size()), text.size()};
    text.copy(bytes.data.get(), text.size());
    return bytes;
}

// Records that agree in their first eight, sixteen and more bytes, in every order.
TEST(ParserOrder, SortsLongCommonBeginnings) {
    std::string content, records;
    const std::string stem = "person-with-a-long-name-";
    for (int i = 999; i >= 0; --i) {
        content += "alias " + stem + std::to_string(i * 7 % 1000) + " x\n";
        content += "alias " + std::string(static_cast<std::size_t>(i % 39 + 1), 'p') + " x\n";
    }
    RecordMap map;
    map.Load(BytesOf(content));
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
    auto bytes = BytesOf(content);
    const auto before = test::BytesRequested();
    RecordMap().Load(std::move(bytes));
    EXPECT_LT(test::BytesRequested() - before, 1U << 20);
}

}  // namespace
