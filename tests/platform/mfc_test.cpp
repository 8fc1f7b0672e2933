#include <gtest/gtest.h>

#include <bit>

#include "platform/mfc/archive.h"
#include "platform/mfc/ole_date_time.h"
#include "platform/mfc/text_case.h"
#include "platform/os/little_endian.h"

namespace {

std::string Stored(CString text) {
    std::string bytes;
    CArchive archive(bytes);
    archive.Text(text);
    return bytes;
}

TEST(ArchiveTest, TextLengthsHaveTheirThreeForms) {
    struct Row {
        std::size_t length;
        std::string head;
    };
    const Row rows[] = {{0, std::string(1, '\0')},
                        {1, "\x01"},
                        {254, "\xFE"},
                        {255, std::string("\xFF\xFF\x00", 3)},
                        {256, std::string("\xFF\x00\x01", 3)},
                        {65533, "\xFF\xFD\xFF"},
                        {65534, std::string("\xFF\xFF\xFF\xFE\xFF\x00\x00", 7)},
                        {70000, std::string("\xFF\xFF\xFF\x70\x11\x01\x00", 7)}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.length);
        const std::string text(row.length, 'z');
        const std::string bytes = Stored(text);
        EXPECT_EQ(bytes.substr(0, row.head.size()), row.head);
        EXPECT_EQ(bytes.size(), row.head.size() + row.length);
        CString back;
        CArchive(std::string_view(bytes)).Text(back);
        EXPECT_EQ(back.Str(), text);
        for (std::size_t cut : {bytes.size() - 1, row.head.size() - 1, std::size_t{0}}) {
            CString kept("kept");
            CArchive early(std::string_view(bytes).substr(0, cut));
            EXPECT_THROW(early.Text(kept), ArchiveError) << cut;
            EXPECT_EQ(kept.Str(), "kept");
        }
    }
}

TEST(ArchiveTest, AHugeLengthIsNoReasonToAllocate) {
    for (const std::string& bytes : {std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                                                 "abc"),
                                     std::string("\xFF\xFE\xFF\x01z", 5)}) {
        CString text;
        CArchive archive{std::string_view(bytes)};
        EXPECT_THROW(archive.Text(text), ArchiveError);
    }
}

TEST(LittleEndianTest, AStreamFeelsItsEnd) {
    std::string bytes;
    platform::ByteWriter out(bytes);
    out.U8(0x12);
    out.U16(0xABCD);
    out.I32(-2);
    out.Double(-0.1);
    out.Zeros(2);
    out.Bytes("xy");
    EXPECT_EQ(bytes.substr(0, 7), std::string("\x12\xCD\xAB\xFE\xFF\xFF\xFF"));
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        SCOPED_TRACE(length);
        platform::ByteReader in(std::string_view(bytes).substr(0, length));
        EXPECT_EQ(in.U8(), length >= 1 ? 0x12 : 0);
        EXPECT_EQ(in.U16(), length >= 3 ? 0xABCD : 0);
        EXPECT_EQ(in.I32(), length >= 7 ? -2 : 0);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(in.Double()),
                  std::bit_cast<std::uint64_t>(length >= 15 ? -0.1 : 0.0));
        in.Skip(2);
        EXPECT_EQ(in.Bytes(2), length == bytes.size() ? "xy" : "");
        EXPECT_EQ(in.Failed(), length != bytes.size());
        EXPECT_EQ(in.U8(), 0);
        EXPECT_TRUE(in.Failed()) << "and stays so";
    }
}

TEST(LittleEndianTest, APlaceOfARecordIsReadAndWrittenOnlyInside) {
    constexpr std::uint64_t kFar = ~std::uint64_t{0};
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{2}, std::uint64_t{3},
                                       std::uint64_t{4}, std::uint64_t{5}, kFar, kFar - 1}) {
        for (const std::size_t width : {2u, 4u}) {
            SCOPED_TRACE(std::to_string(offset) + ", " + std::to_string(width));
            const bool isInside = offset <= 5 && offset + width <= 5;
            std::string bytes = "vwxyz";
            const bool isWritten = width == 2 ? platform::WriteU16(bytes, offset, 0xFE01)
                                              : platform::WriteU32(bytes, offset, 0xFE0302C1);
            EXPECT_EQ(isWritten, isInside);
            std::string expected = "vwxyz";
            if (isInside) {
                expected.replace(offset, width, width == 2 ? "\x01\xFE" : "\xC1\x02\x03\xFE");
            }
            EXPECT_EQ(bytes, expected);
            if (width == 2) {
                const auto number = platform::ReadU16(bytes, offset);
                EXPECT_EQ(number.has_value(), isInside);
                EXPECT_EQ(number.value_or(0xFE01), 0xFE01);
            } else {
                const auto number = platform::ReadU32(bytes, offset);
                EXPECT_EQ(number.has_value(), isInside);
                EXPECT_EQ(number.value_or(0xFE0302C1), 0xFE0302C1);
            }
        }
    }
}

TEST(OleDateTimeTest, RangeAndOrder) {
    struct Row {
        double date;
        bool valid;
    };
    for (const Row& row : {Row{0.0, true}, Row{-657434.0, true}, Row{-657434.99, true},
                           Row{-657435.0, false}, Row{2958465.99, true}, Row{2958466.0, false},
                           Row{1.7e308, false}, Row{__builtin_nan(""), false}}) {
        EXPECT_EQ(COleDateTime(row.date).GetStatus() == COleDateTime::kValid, row.valid)
            << row.date;
    }
    const double inOrder[] = {-2.0, -2.5, -1.0, -1.25, -1.75, -0.0, 0.25, 1.0};
    for (std::size_t i = 0; i + 1 < std::size(inOrder); ++i) {
        EXPECT_LT(COleDateTime(inOrder[i]), COleDateTime(inOrder[i + 1])) << inOrder[i];
        EXPECT_FALSE(COleDateTime(inOrder[i + 1]) < COleDateTime(inOrder[i])) << inOrder[i];
    }
}

TEST(TextCaseTest, DoubleByteCharactersStayWhole) {
    EXPECT_EQ(platform::UpperCase("a\x83\x61z\xE9", 932), "A\x83\x61Z\xE9");
    EXPECT_EQ(platform::UpperCase("a\x83\x61z", 1252), "A\x83\x41Z");
    EXPECT_TRUE(platform::ContainsText("\x83\x41\x42", "\x42", 932));
    EXPECT_FALSE(platform::ContainsText("\x83\x42", "\x42", 932));
    EXPECT_TRUE(platform::ContainsText("", "", 932));
    EXPECT_TRUE(platform::EqualNoCase("aZ[", "Az["));
    EXPECT_FALSE(platform::EqualNoCase("a", "ab"));
    EXPECT_FALSE(platform::EqualNoCase("@[`{", "`{@["));
}

}  // namespace
