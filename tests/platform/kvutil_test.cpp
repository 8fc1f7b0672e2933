#include "platform/kvutil/kvutil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

#include "platform/kvutil/kvutil_core.h"
#include "platform/testing/memory_registry.h"

namespace {

using Attachments = CArray<CRAttachmentInfo>;

TEST(KvUtilTest, TextBlocksComeFromPlainNew) {
    char* block = nullptr;
    EXPECT_EQ(AllocVornString(block, "text"), RRC_OK);
    EXPECT_STREQ(block, "text");
    ::operator delete(block);
    block = static_cast<char*>(::operator new(3));
    EXPECT_EQ(FreeVornString(block), RRC_OK);
    EXPECT_EQ(FreeVornString(block), RRC_OK) << "freed and null now";
    for (const auto& fail :
         {+[](char*& out) { return AllocVornString(out, -1); },
          +[](char*& out) { return AllocVornString(out, static_cast<const char*>(nullptr)); }}) {
        block = reinterpret_cast<char*>(&block);
        EXPECT_EQ(fail(block), RRC_FAILED);
        EXPECT_EQ(block, nullptr);
    }
}

TEST(KvUtilTest, CheckSumIsCrc32AndContinues) {
    const auto sumOf = [](std::string text, unsigned int sum = 0) {
        auto* const data = reinterpret_cast<unsigned char*>(text.data());
        EXPECT_EQ(ComputeCheckSum(data, static_cast<int>(text.size()), sum, 1), RRC_OK);
        return sum;
    };
    EXPECT_EQ(sumOf("123456789"), 0xCBF43926U) << "the published check value";
    EXPECT_EQ(sumOf("6789", sumOf("12345")), 0xCBF43926U);
    unsigned int sum = 5;
    EXPECT_EQ(ComputeCheckSum(nullptr, 4, sum, 1), RRC_FAILED);
    EXPECT_EQ(ComputeCheckSum(nullptr, -1, sum, 1), RRC_FAILED);
    EXPECT_EQ(sum, 5U);
}

TEST(KvUtilTest, TextHelpers) {
    EXPECT_EQ(VornRight("C:\\dir\\", 1, 0), "\\");
    char stripped[16];
    EXPECT_EQ(StripChars("<a>b<>", stripped, "<>"), RRC_OK);
    EXPECT_STREQ(stripped, "ab");
    CString out;
    EXPECT_EQ(GetFilename("C:\\a\\b.txt", out), RRC_OK);
    EXPECT_EQ(out, "b.txt");
    using Row = std::tuple<const char*, const char*, const char*, int, const char*>;
    for (const auto& [before, find, replacement, count, result] :
         {Row{"a.b.c", ".", "..", -1, "a..b..c"}, Row{"a.b.c", ".", "", 1, "ab.c"},
          Row{"abc", "", "x", -1, "abc"}, Row{"abc", "b", nullptr, -1, "ac"},
          Row{"abc", "b", "x", 0, "abc"}}) {
        CString text(before);
        EXPECT_EQ(FindReplace(text, find, replacement, count), RRC_OK);
        EXPECT_EQ(text, result);
    }
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
        const auto leads = std::count(shown.begin(), shown.end(), '\x83');
        EXPECT_GE(std::count(shown.begin(), shown.end(), '\\'), leads) << shown;
    }
}

TEST(KvUtilTest, ARegistryTextHasRoomForItsClosingZero) {
    platform::testing::MemoryRegistry registry;
    const auto root = platform::RegistryRoot::kLocalMachine;
    (void)registry.WriteText(root, "Key", "", std::string(259, 'x'));
    EXPECT_TRUE(kvutil::ReadBoundedText(registry, root, "key", "", 260));
    EXPECT_FALSE(kvutil::ReadBoundedText(registry, root, "key", "", 259));
}

TEST(AttachmentTextTest, DamagedLinesEndTheList) {
    Attachments back;
    EXPECT_EQ(StrToAttachmentInfo("1\t0\tx\ty\tz", back), RRC_OK) << "a last line without LF";
    for (const char* bad :
         {"\n", "1\t0\tx\ty\n", "1\t0\tx\ty\tz\tmore\n", "x\t0\tx\ty\tz\n", "1\t-1\tx\ty\tz\n",
          "4294967296\t0\tx\ty\tz\n", "1\t0\tx\ty\tC:\\temp\n", "1\t0\tx\ty\tz\r\n",
          "1\t0\tx\ty\tz\\", "1\t0\tx\\q\ty\tz\n"}) {
        EXPECT_EQ(StrToAttachmentInfo((std::string("7\t0\ta\tb\tc\n") + bad).c_str(), back),
                  RRC_FAILED);
        EXPECT_EQ(back.GetSize(), 1) << "what stood before it: " << bad;
    }
}

TEST(AttachmentTextTest, AnyBytesComeBack) {
    std::mt19937 random(8);
    constexpr std::string_view kNasty = "\\\t\r\nntr\x83\x5C \"<";
    const auto text = [&](bool isPath = false) {
        std::string bytes(random() % 12, ' ');
        for (char& byte : bytes) {
            byte = random() % 2 != 0 ? kNasty[random() % kNasty.size()]
                                     : static_cast<char>(1 + random() % 255);
            if (isPath && static_cast<unsigned char>(byte) < ' ') byte = '\\';
        }
        return CString(bytes);
    };
    for (int round = 0; round < 500; ++round) {
        const CRAttachmentInfo info{static_cast<std::uint32_t>(random()), 1, text(), text(),
                                    text(true)};
        Attachments list, back;
        list.Add(info);
        list.Add(info);
        CString encoded;
        ASSERT_EQ(AttachmentInfoToStr(list, encoded), RRC_OK);
        ASSERT_EQ(StrToAttachmentInfo(encoded, back), RRC_OK) << encoded.Str();
        ASSERT_EQ(back.GetSize(), 2);
        const CRAttachmentInfo last = back.GetAt(1);
        EXPECT_EQ(std::tie(last.dwInfoFlag, last.csDisplayName, last.csFileName, last.csFilePath),
                  std::tie(info.dwInfoFlag, info.csDisplayName, info.csFileName, info.csFilePath));
    }
}

}  // namespace
