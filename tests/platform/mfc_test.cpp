#include <gtest/gtest.h>

#include "platform/mfc/archive.h"
#include "platform/mfc/ole_date_time.h"
#include "platform/os/little_endian.h"

namespace {

TEST(ArchiveTest, TextLengthsHaveTheirThreeForms) {
    using namespace std::string_literals;
    using Row = std::pair<std::size_t, std::string>;
    for (const auto& [length, head] :
         {Row{0, "\0"s}, Row{254, "\xFE"}, Row{255, "\xFF\xFF\x00"s}, Row{65533, "\xFF\xFD\xFF"},
          Row{65534, "\xFF\xFF\xFF\xFE\xFF\x00\x00"s}}) {
        SCOPED_TRACE(length);
        CString text(std::string(length, 'z')), back;
        std::string bytes;
        CArchive(bytes).Text(text);
        EXPECT_EQ(bytes, head + text.Str());
        CArchive(std::string_view(bytes)).Text(back);
        EXPECT_EQ(back, text);
        CArchive early(std::string_view(bytes).substr(0, bytes.size() - 1));
        EXPECT_THROW(early.Text(back), ArchiveError);
    }
    // A huge length is no reason to allocate.
    for (const auto& bytes : {"\xFF\xFF\xFF\xFF\xFF\xFF\xFFz"s, "\xFF\xFE\xFF\x01z"s}) {
        CString text;
        EXPECT_THROW(CArchive(std::string_view(bytes)).Text(text), ArchiveError);
    }
}

TEST(LittleEndianTest, APlaceOfARecordIsReadAndWrittenOnlyInside) {
    for (const std::uint64_t offset : {std::uint64_t{1}, std::uint64_t{2}, ~std::uint64_t{0}}) {
        const bool isInside = offset == 1;
        std::string bytes = "vwxyz";
        EXPECT_EQ(platform::WriteU32(bytes, offset, 0xFE0302C1), isInside);
        EXPECT_EQ(bytes, isInside ? "v\xC1\x02\x03\xFE" : "vwxyz");
        EXPECT_EQ(platform::ReadU32(bytes, offset).value_or(0), isInside ? 0xFE0302C1 : 0);
    }
}

TEST(OleDateTimeTest, RangeAndOrder) {
    EXPECT_EQ(COleDateTime(2958465.99).GetStatus(), COleDateTime::kValid);
    EXPECT_EQ(COleDateTime(2958466.0).GetStatus(), COleDateTime::kInvalid);
    const double inOrder[] = {-2.0, -2.5, -1.0, -1.25, -0.0, 0.25, 1.0};
    for (std::size_t i = 0; i + 1 < std::size(inOrder); ++i) {
        EXPECT_LT(COleDateTime(inOrder[i]), COleDateTime(inOrder[i + 1])) << inOrder[i];
    }
}

}  // namespace
