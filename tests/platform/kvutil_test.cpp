#include "platform/kvutil/kvutil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

#include "platform/kvutil/attachment_text.h"
#include "platform/kvutil/kvutil_core.h"
#include "platform/testing/memory_registry.h"
#include "tests/frame/log_capture.h"

namespace {

using Attachments = CArray<CRAttachmentInfo>;

TEST(KvUtilTest, LoggingCostsNothingWhenOff) {
    const LogCapture log;
    g_bEnableLog = 0;
    int worked = 0;
    KV_LOG(5, "off %d", ++worked);
    EXPECT_EQ(worked + LogCapture::Lines().size(), 0U);
}

TEST(KvUtilTest, TextBlocksComeFromPlainNew) {
    char* block = nullptr;
    EXPECT_EQ(AllocVornString(block, "text"), RRC_OK);
    EXPECT_STREQ(block, "text");
    ::operator delete(block);
    block = static_cast<char*>(::operator new(3));
    EXPECT_EQ(FreeVornString(block), RRC_OK);
    EXPECT_EQ(FreeVornString(block), RRC_OK) << "freed and null now";
    block = reinterpret_cast<char*>(&block);
    EXPECT_EQ(AllocVornString(block, -1), RRC_FAILED);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(AllocVornString(block, static_cast<const char*>(nullptr)), RRC_FAILED);
}

TEST(KvUtilTest, CheckSumIsCrc32AndContinues) {
    const auto sumOf = [](std::string text, unsigned int sum = 0) {
        EXPECT_EQ(ComputeCheckSum(reinterpret_cast<unsigned char*>(text.data()),
                                  static_cast<int>(text.size()), sum, 1),
                  RRC_OK);
        return sum;
    };
    // The published check value, and two more of zlib's.
    EXPECT_EQ(sumOf("123456789"), 0xCBF43926U);
    EXPECT_EQ(sumOf(""), 0U);
    EXPECT_EQ(sumOf(std::string(1, '\0')), 0xD202EF8DU);
    EXPECT_EQ(sumOf("6789", sumOf("12345")), 0xCBF43926U);
    unsigned int sum = 5;
    EXPECT_EQ(ComputeCheckSum(nullptr, 4, sum, 1), RRC_FAILED);
    EXPECT_EQ(ComputeCheckSum(nullptr, -1, sum, 1), RRC_FAILED);
    EXPECT_EQ(sum, 5U);
    EXPECT_EQ(ComputeCheckSum(nullptr, 0, sum, 1), RRC_OK);
}

TEST(KvUtilTest, TextHelpers) {
    EXPECT_EQ(VornRight("C:\\dir\\", 1, 0), "\\");
    char stripped[16];
    EXPECT_EQ(StripChars("<a>b<>", stripped, "<>"), RRC_OK);
    EXPECT_STREQ(stripped, "ab");
    CString out;
    for (const auto& [path, name] : {std::pair{"C:\\a\\b.txt", "b.txt"},
                                     {"b.txt", "b.txt"},
                                     {"C:b", "b"},
                                     {"a/b", "b"},
                                     {"C:\\a\\", ""}}) {
        EXPECT_EQ(GetFilename(path, out), RRC_OK);
        EXPECT_EQ(out, name) << path;
    }
}

TEST(KvUtilTest, ReplacementsAreCountedAndNotSearchedAgain) {
    using Row = std::tuple<const char*, const char*, const char*, int, const char*>;
    for (const auto& [before, find, replacement, count, result] :
         {Row{"a.b.c", ".", "..", -1, "a..b..c"}, Row{"a.b.c", ".", "", 1, "ab.c"},
          Row{"aaa", "aa", "a", -1, "aa"}, Row{"abc", "", "x", -1, "abc"},
          Row{"abc", "b", nullptr, -1, "ac"}, Row{"abc", "b", "x", 0, "abc"}}) {
        CString text(before);
        EXPECT_EQ(FindReplace(text, find, replacement, count), RRC_OK);
        EXPECT_EQ(text, result);
    }
}

TEST(TextToolsTest, CharactersAreNotCut) {
    EXPECT_EQ(kvutil::LastBytes("a\x83\x5C", 1, 932), "");
    EXPECT_EQ(kvutil::LastBytes("a\x83\x5C", 2, 932), "\x83\x5C");
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

TEST(RegistryAccessTest, SizeCountsTheClosingZero) {
    platform::testing::MemoryRegistry registry;
    const auto root = platform::RegistryRoot::kLocalMachine;
    (void)registry.WriteText(root, "Key", "", std::string(259, 'x'));
    EXPECT_TRUE(kvutil::ReadBoundedText(registry, root, "key", "", 260));
    EXPECT_FALSE(kvutil::ReadBoundedText(registry, root, "key", "", 259));
    EXPECT_FALSE(kvutil::ReadBoundedText(registry, root, "key", "other", 260));
}

TEST(AttachmentTextTest, KnownForms) {
    Attachments list, back;
    list.Add({1, 1, "a b", "a b", "C:\\t\\Qzv1.tmp"});
    list.Add({0xFFFFFFFF, 0, "\t\r\n", "", ""});
    CString text;
    EXPECT_EQ(AttachmentInfoToStr(list, text), RRC_OK);
    EXPECT_EQ(text,
              "1\t1\ta b\ta b\tC:\\\\t\\\\Qzv1.tmp\n"
              "4294967295\t0\t\\t\\r\\n\t\t\n");
    EXPECT_EQ(StrToAttachmentInfo("1\t0\tx\ty\tz", back), RRC_OK) << "a last line without LF";
    EXPECT_EQ(back.GetSize(), 1);
    for (const char* bad :
         {"\n", "1\t0\tx\ty\n", "1\t0\tx\ty\tz\tmore\n", "x\t0\tx\ty\tz\n", "1\t-1\tx\ty\tz\n",
          "4294967296\t0\tx\ty\tz\n", "\t\t\t\t\n", " 1\t0\tx\ty\tz\n", "1\t0\tx\ty\tC:\\dir\\z\n",
          "1\t0\tx\ty\tC:\\temp\n", "1\t0\tx\ty\tz\r\n", "1\t0\tx\ty\tz\\", "1\t0\tx\\q\ty\tz\n"}) {
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
    for (int round = 0; round < 2000; ++round) {
        Attachments list, back;
        for (auto count = random() % 4; count > 0; --count) {
            list.Add({static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random()),
                      text(), text(), text(true)});
        }
        const std::string encoded = kvutil::EncodeAttachments(list);
        ASSERT_TRUE(kvutil::DecodeAttachments(encoded, back)) << encoded;
        const auto isSame = [](const CRAttachmentInfo& x, const CRAttachmentInfo& y) {
            return std::tie(x.dwInfoFlag, x.bDeleteSource, x.csDisplayName.Str(),
                            x.csFileName.Str(), x.csFilePath.Str()) ==
                   std::tie(y.dwInfoFlag, y.bDeleteSource, y.csDisplayName.Str(),
                            y.csFileName.Str(), y.csFilePath.Str());
        };
        ASSERT_TRUE(std::equal(list.begin(), list.end(), back.begin(), back.end(), isSame))
            << encoded;
    }
}

}  // namespace
