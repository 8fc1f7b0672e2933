#include "tests/frame/frame_fixture.h"

namespace {

using namespace std::literals;

const std::string kPath = "C:\\set\\EudoraAppInfo0001.cfg";

// The file of a field and other limits than those of new settings, in the bytes that
// docs/formats/settings.md tells.
const std::string kFile =
    "\0\0\0\0\0\0\0\0\0\0\0\0"  // no stamp
    "\001\0\0\0\00211\013\0\0\0\051\0\0\0\002Id\004\0\0\0\307\002\0\200\001\0\0\0"
    "\001\0\0\0\0\0\0\0\006\0\0\0\0\0\0\0\0\002\0\0\0\106\0\0\0\100\001\0\0"s;

CEudoraAppInfo Info() {
    CEudoraAppInfo info;
    info.m_fields.Add({"11", 11, 41, "Id", kFieldText, 0x800002C7, true});
    info.m_bAttachments = 1;
    info.m_bLimitAttachSize = info.m_bLimitMailSize = 0;
    info.m_nAttachLimitKB = 6;
    info.m_bLimitMailAge = 2;
    info.m_nMailAgeDays = 70;
    info.m_nMailLimitKB = 320;
    return info;
}

using SettingsTest = FrameTest;

TEST_F(SettingsTest, FileHasTheToldBytesOrTheOldOnes) {
    CEudoraAppInfo info = Info();
    machine.files.Put(kPath, "old");
    machine.files.LimitDisk(50);
    EXPECT_FALSE(util.StoreSettings(info, kPath.c_str()));
    machine.files.LimitDisk({});
    machine.files.SetReadOnly(kPath);
    EXPECT_FALSE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(machine.files.Get(kPath), "old");
    machine.files.SetReadOnly(kPath, false);
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(machine.files.Get(kPath), kFile);
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{kPath});
}

// The replay of fuzz/corpus/settings holds that all else comes back.
TEST_F(SettingsTest, FieldsComeBackInTheirOrder) {
    CEudoraAppInfo info, loaded = Info();
    info.m_fields.Add({"7", -1, -1, "\x83\x5C", 6, 0xFFFFFFFF, true});
    info.m_fields.Add({"7", 2, 2, "later", 3, 4, true});
    info.m_nMailAgeDays = -7;
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    // Any word but zero makes a field special, and trailing bytes are nobody's business.
    std::string bytes = *machine.files.Get(kPath) + "tail";
    bytes[bytes.find("later") + 16] = '\x40';
    machine.files.Put(kPath, bytes);
    ASSERT_TRUE(util.LoadSettings(kPath.c_str(), loaded));
    EXPECT_TRUE(loaded.m_fields.GetAt(0).m_bSpecial && loaded.m_fields.GetAt(1).m_bSpecial);
    EXPECT_EQ(loaded.m_fields.GetSize(), 2);
    EXPECT_EQ(loaded.m_nMailAgeDays, -7);
    EXPECT_EQ(loaded.m_fields.Lookup("7"), 1) << "the latest of an id counts";
    for (const char* unknown : {"1", "07", "", "7 ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(loaded.m_fields.Lookup(unknown), -1);
    }
}

TEST_F(SettingsTest, AFileCutShortKeepsWhatWasRead) {
    CEudoraAppInfo large;
    for (std::size_t length = 0; length < kFile.size(); ++length) {
        SCOPED_TRACE(length);
        machine.files.Put(kPath, kFile.substr(0, length));
        LogCapture log;
        CEudoraAppInfo info;
        EXPECT_FALSE(util.LoadSettings(kPath.c_str(), info));
        EXPECT_TRUE(LogCapture::Has("1 Unable to load app info file " + kPath + "\n"));
        EXPECT_EQ(info.m_nMailAgeDays, length + 4 < kFile.size() ? 7 : 70);
        EXPECT_EQ(info.m_fields.GetSize() == 1, length >= kFile.size() - 29);
    }
    LogCapture log;
    machine.files.Put(kPath, kFile + std::string(16 << 20, 'x'));
    EXPECT_TRUE(util.LoadSettings(kPath.c_str(), large)) << "the front of a large file";
    EXPECT_EQ(large.m_nMailLimitKB, 320);
    EXPECT_FALSE(util.LoadSettings("C:\\set\\none.cfg", large));
    EXPECT_TRUE(LogCapture::Lines().empty()) << "a missing file is no failure";
}

TEST_F(SettingsTest, NumbersFillTheFirstGapAndDeletionStopsThere) {
    const auto path = [&](int number) { return util.SettingsPath(number).Str(); };
    for (int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xABCD}) machine.files.Put(path(number), "x");
    CString found;
    EXPECT_TRUE(util.NextSettingsPath(found));
    EXPECT_EQ(found, "C:\\set\\EudoraAppInfo000A.cfg");
    util.DeleteAllSettings();
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{"C:\\set\\EudoraAppInfoABCD.cfg"});
    struct FullFolder : platform::testing::MemoryFiles {
        platform::Result<platform::FileInfo> Stat(std::string_view) override {
            return platform::FileInfo{};
        }
    } full;
    EXPECT_FALSE(CEudoraTransUtil(machine.Over(full)).NextSettingsPath(found));
    EXPECT_EQ(found, "C:\\set\\EudoraAppInfo000A.cfg") << "untouched";
}

TEST_F(SettingsTest, SummaryTellsTheLimitsInShiftJis) {
    const std::string days =
        "\x8D\xC5\x8B\xDF\x82\xCC"
        "7\x93\xFA\x8A\xD4, ";
    const std::string size = "\x8D\xC5\x91\xE5: 32KB, ", attach = "\x93\x59\x95\x74: ";
    using Row = std::tuple<int, int, int, int, std::string>;
    for (const auto& [age, kilobytes, attachments, limit, text] :
         {Row{1, 1, 0, 1, days + size + attach + "No"}, Row{0, 1, 1, 0, size + attach + "Yes"},
          Row{1, 0, 1, 1, days + attach + "5KB"}}) {
        CEudoraAppInfo info;
        info.m_bLimitMailAge = age;
        info.m_bLimitMailSize = kilobytes;
        info.m_bAttachments = attachments;
        info.m_bLimitAttachSize = limit;
        EXPECT_EQ(info.GetSummaryText().Str(), text);
    }
}

}  // namespace
