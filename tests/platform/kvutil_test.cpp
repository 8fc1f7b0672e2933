#include "platform/kvutil/kvutil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <tuple>

#include "platform/kvutil/kvutil_core.h"
#include "platform/mfc/archive.h"
#include "platform/mfc/ole_date_time.h"
#include "platform/os/little_endian.h"
#include "platform/testing/memory_registry.h"
#include "tests/support/table.h"

namespace {

using namespace std::string_literals;
using test::Rows, test::Table;

TEST(KvUtilTest, TextBlocksComeFromPlainNew) {
    char* block = nullptr;
    EXPECT_EQ(AllocVornString(block, "text"), RRC_OK);
    EXPECT_STREQ(block, "text");
    ::operator delete(block);
    block = static_cast<char*>(::operator new(3));
    EXPECT_EQ(FreeVornString(block), RRC_OK);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(AllocVornString(block, -1), RRC_FAILED);
    EXPECT_EQ(AllocVornString(block, static_cast<const char*>(nullptr)), RRC_FAILED);
}

TEST(KvUtilTest, TextHelpers) {
    EXPECT_EQ(VornRight("C:\\dir\\", 1, 0), "\\");
    char stripped[16];
    EXPECT_EQ(StripChars("<a>b<>", stripped, "<>"), RRC_OK);
    EXPECT_STREQ(stripped, "ab");
    CString out;
    EXPECT_EQ(GetFilename("C:\\a\\b.txt", out), RRC_OK);
    EXPECT_EQ(out, "b.txt");
    for (const auto& [before, find, replacement, count, result] :
         Table<std::string, std::string, std::string, int, std::string>("texts replaced")) {
        CString text(before);
        EXPECT_EQ(FindReplace(text, find.c_str(), replacement.c_str(), count), RRC_OK);
        EXPECT_EQ(text.Str(), result);
    }
    EXPECT_EQ(FindReplace(out, "b", nullptr, -1), RRC_OK);
    EXPECT_EQ(out, ".txt");
    unsigned char digits[] = "123456789";
    unsigned sum = 0;
    EXPECT_EQ(ComputeCheckSum(digits, 5, sum, 1), RRC_OK);
    EXPECT_EQ(ComputeCheckSum(digits + 5, 4, sum, 1), RRC_OK);
    EXPECT_EQ(sum, 0xCBF43926U) << "the published check value of CRC-32";
    EXPECT_EQ(ComputeCheckSum(nullptr, 4, sum, 1), RRC_FAILED);
    EXPECT_EQ(ComputeCheckSum(digits, -1, sum, 1), RRC_FAILED);
    platform::testing::MemoryRegistry registry;
    const auto root = platform::RegistryRoot::kLocalMachine;
    (void)registry.WriteText(root, "Key", "", std::string(259, 'x'));
    EXPECT_TRUE(kvutil::ReadBoundedText(registry, root, "key", "", 260));
    EXPECT_FALSE(kvutil::ReadBoundedText(registry, root, "key", "", 259)) << "no closing zero";
}

TEST(KvUtilTest, CharactersAreNotCut) {
    EXPECT_EQ(kvutil::LastBytes("a\x83\x5C", 1, 932), "");
    EXPECT_EQ(kvutil::LastBytes("a\x83\x5C", 1, 1252), "\\");
    const std::string path = "C:\\\x83\x5C\x83\x5C\\folder\\name.txt";
    for (std::size_t limit = 0; limit < path.size() + 2; ++limit) {
        const std::string shown = kvutil::ShortenPath(path, limit, 932);
        EXPECT_LE(shown.size(), limit);
        EXPECT_TRUE(limit < path.size() || shown == path);
        EXPECT_TRUE(limit < 12 || shown.ends_with(".txt")) << shown;
        EXPECT_GE(std::ranges::count(shown, '\\'), std::ranges::count(shown, '\x83')) << shown;
    }
}

TEST(AttachmentTextTest, AnyBytesComeBackAndDamagedLinesEndTheList) {
    std::mt19937 random(8);
    const auto text = [&](bool isPath) {
        constexpr std::string_view kNasty = "\\\t\r\nntr\x83\x5C \"<";
        std::string bytes(random() % 12, ' ');
        for (char& byte : bytes) {
            byte = random() % 2 != 0 ? kNasty[random() % kNasty.size()]
                                     : static_cast<char>(1 + random() % 255);
            if (isPath && static_cast<unsigned char>(byte) < ' ') byte = '\\';
        }
        return CString(bytes);
    };
    CArray<CRAttachmentInfo> list, back;
    for (std::uint32_t i = 0; i < 500; ++i) {
        list.Add({i * 8'600'000, i % 2, text(false), text(false), text(true)});
    }
    CString encoded;
    ASSERT_EQ(AttachmentInfoToStr(list, encoded), RRC_OK);
    ASSERT_EQ(StrToAttachmentInfo(encoded, back), RRC_OK);
    const auto same = [](const CRAttachmentInfo& a, const CRAttachmentInfo& b) {
        return std::tie(a.dwInfoFlag, a.bDeleteSource, a.csDisplayName, a.csFileName,
                        a.csFilePath) ==
               std::tie(b.dwInfoFlag, b.bDeleteSource, b.csDisplayName, b.csFileName, b.csFilePath);
    };
    EXPECT_TRUE(std::equal(list.begin(), list.end(), back.begin(), back.end(), same));

    EXPECT_EQ(StrToAttachmentInfo("1\t0\tx\ty\tz", back), RRC_OK) << "a last line without LF";
    for (const auto& [line, end] : Rows<2>("lines that are no attachments")) {
        const std::string bad = line + end;
        EXPECT_EQ(StrToAttachmentInfo(("7\t0\ta\tb\tc\n" + bad).c_str(), back), RRC_FAILED);
        EXPECT_EQ(back.GetSize(), 1) << "what stood before it: " << bad;
    }
}

TEST(ArchiveTest, TextLengthsHaveTheirThreeForms) {
    for (const auto& [length, head] : Table<std::size_t, std::string>("lengths in archives")) {
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
        EXPECT_EQ(platform::WriteNumber(bytes, offset, 0xFE0302C1), isInside);
        EXPECT_EQ(bytes, isInside ? "v\xC1\x02\x03\xFE" : "vwxyz");
        EXPECT_EQ(platform::ReadU32(bytes, offset).value_or(0), isInside ? 0xFE0302C1 : 0);
    }
}

TEST(OleDateTimeTest, RangeAndOrder) {
    EXPECT_EQ(COleDateTime(2958465.99).GetStatus(), COleDateTime::kValid);
    EXPECT_EQ(COleDateTime(2958466.0).GetStatus(), COleDateTime::kInvalid);
    const double days[] = {-2.0, -2.5, -1.0, -1.25, -0.0, 0.25, 1.0};
    EXPECT_EQ(std::ranges::adjacent_find(days, std::not_fn(std::less<>()),
                                         [](double day) { return COleDateTime(day); }),
              std::end(days));
}

}  // namespace
