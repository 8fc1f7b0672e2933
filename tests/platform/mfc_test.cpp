#include <gtest/gtest.h>

#include "platform/mfc/archive.h"
#include "platform/mfc/ole_date_time.h"
#include "platform/os/little_endian.h"

namespace {

TEST(ArchiveTest, TextLengthsHaveTheirThreeForms) {
    using namespace std::string_literals;
    using Row = std::pair<std::size_t, std::string>;
    for (const auto& [length, head] :
         {Row{0, "\0"s}, Row{1, "\x01"}, Row{254, "\xFE"}, Row{255, "\xFF\xFF\x00"s},
          Row{65533, "\xFF\xFD\xFF"}, Row{65534, "\xFF\xFF\xFF\xFE\xFF\x00\x00"s},
          Row{70000, "\xFF\xFF\xFF\x70\x11\x01\x00"s}}) {
        SCOPED_TRACE(length);
        CString text(std::string(length, 'z')), back;
        std::string bytes;
        CArchive(bytes).Text(text);
        EXPECT_EQ(bytes, head + text.Str());
        CArchive(std::string_view(bytes)).Text(back);
        EXPECT_EQ(back, text);
        for (std::size_t cut : {bytes.size() - 1, head.size() - 1, std::size_t{0}}) {
            CArchive early(std::string_view(bytes).substr(0, cut));
            back = "kept";
            EXPECT_THROW(early.Text(back), ArchiveError) << cut;
            EXPECT_EQ(back, "kept");
        }
    }
    // A huge length is no reason to allocate.
    for (const auto& bytes : {"\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                              "abc"s,
                              "\xFF\xFE\xFF\x01z"s}) {
        CString text;
        EXPECT_THROW(CArchive(std::string_view(bytes)).Text(text), ArchiveError);
    }
}

TEST(LittleEndianTest, APlaceOfARecordIsReadAndWrittenOnlyInside) {
    constexpr std::uint64_t kFar = ~std::uint64_t{0};
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{2},
                                       std::uint64_t{3}, std::uint64_t{4}, kFar, kFar - 1}) {
        SCOPED_TRACE(offset);
        std::string two = "vwxyz", four = two, expected2 = two, expected4 = two;
        EXPECT_EQ(platform::WriteU16(two, offset, 0xFE01), offset <= 3);
        EXPECT_EQ(platform::WriteU32(four, offset, 0xFE0302C1), offset <= 1);
        if (offset <= 3) expected2.replace(offset, 2, "\x01\xFE");
        if (offset <= 1) expected4.replace(offset, 4, "\xC1\x02\x03\xFE");
        EXPECT_EQ(two + four, expected2 + expected4);
        EXPECT_EQ(platform::ReadU16(two, offset).value_or(0), offset <= 3 ? 0xFE01 : 0);
        EXPECT_EQ(platform::ReadU32(four, offset).value_or(0), offset <= 1 ? 0xFE0302C1 : 0);
    }
}

TEST(OleDateTimeTest, RangeAndOrder) {
    EXPECT_EQ(COleDateTime(2958465.99).GetStatus(), COleDateTime::kValid);
    EXPECT_EQ(COleDateTime(2958466.0).GetStatus(), COleDateTime::kInvalid);
    const double inOrder[] = {-2.0, -2.5, -1.0, -1.25, -1.75, -0.0, 0.25, 1.0};
    for (std::size_t i = 0; i + 1 < std::size(inOrder); ++i) {
        EXPECT_LT(COleDateTime(inOrder[i]), COleDateTime(inOrder[i + 1])) << inOrder[i];
        EXPECT_FALSE(COleDateTime(inOrder[i + 1]) < COleDateTime(inOrder[i])) << inOrder[i];
    }
}

}  // namespace
