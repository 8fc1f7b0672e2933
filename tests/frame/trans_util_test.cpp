#include "tests/frame/frame_fixture.h"
#include "tests/support/table.h"

namespace {

using namespace std::literals;
using Texts = std::vector<std::string>;

const std::string kPath = "C:\\set\\EudoraAppInfo0001.cfg";

// The file of a field and other limits than those of new settings, in the bytes that
// docs/formats/settings.md tells.
const std::string kFile =
    "\0\0\0\0\0\0\0\0\0\0\0\0"  // no stamp
    "\001\0\0\0\00211\013\0\0\0\051\0\0\0\002Id\004\0\0\0\307\002\0\200\001\0\0\0"
    "\001\0\0\0\0\0\0\0\006\0\0\0\0\0\0\0\0\002\0\0\0\106\0\0\0\100\001\0\0"s;

using TransUtilTest = FrameTest;

TEST_F(TransUtilTest, SettingsFileHasTheToldBytesOrTheOldOnes) {
    CEudoraAppInfo info;
    info.m_fields.Add({"11", 11, 41, "Id", kFieldText, 0x800002C7, true});
    info.m_bAttachments = 1;
    info.m_bLimitAttachSize = info.m_bLimitMailSize = 0;
    info.m_nAttachLimitKB = 6;
    info.m_bLimitMailAge = 2;
    info.m_nMailAgeDays = 70;
    info.m_nMailLimitKB = 320;
    machine.files.Put(kPath, "old");
    machine.files.LimitDisk(50);
    LoadStrings({{static_cast<unsigned>(frame::StringId::kDiskFull), "full"}});
    EXPECT_FALSE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(DrainErrors(), Texts{"full"});
    machine.files.LimitDisk({});
    EXPECT_EQ(machine.files.Get(kPath), "old");
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(machine.files.Get(kPath), kFile);
    EXPECT_EQ(machine.files.AllFiles(), Texts{kPath});

    info.m_fields.Add({"11", -1, -1, "latest", kFieldText, 0, true});
    EXPECT_EQ(info.m_fields.Lookup("11"), 1) << "the latest of an id counts";
    for (const char* unknown : {"1", "011", "", "11 ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(info.m_fields.Lookup(unknown), -1);
    }
}

TEST_F(TransUtilTest, AFileCutShortKeepsWhatWasRead) {
    for (std::size_t length = 0; length <= kFile.size(); ++length) {
        SCOPED_TRACE(length);
        machine.files.Put(kPath, kFile.substr(0, length));
        const LogCapture log;
        CEudoraAppInfo info;
        const bool isWhole = length == kFile.size();
        EXPECT_EQ(util.LoadSettings(kPath.c_str(), info), isWhole);
        EXPECT_EQ(LogCapture::Lines(),
                  isWhole ? Texts() : Texts{"1 Unable to load app info file " + kPath + "\n"});
        EXPECT_EQ(info.m_nMailAgeDays, length + 4 < kFile.size() ? 7 : 70);
        EXPECT_EQ(info.m_fields.GetSize() == 1, length >= kFile.size() - 29);
    }
    CEudoraAppInfo info;
    machine.files.Put(kPath, kFile + std::string(16 << 20, 'x'));
    EXPECT_TRUE(util.LoadSettings(kPath.c_str(), info)) << "the front of a large file";
}

TEST_F(TransUtilTest, NumbersFillTheFirstGapAndDeletionStopsThere) {
    for (int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xABCD}) {
        machine.files.Put(util.SettingsPath(number).Str(), "x");
    }
    CString found;
    EXPECT_TRUE(util.NextSettingsPath(found));
    EXPECT_EQ(found, "C:\\set\\EudoraAppInfo000A.cfg");
    util.DeleteAllSettings();
    EXPECT_EQ(machine.files.AllFiles(), Texts{"C:\\set\\EudoraAppInfoABCD.cfg"});
}

TEST_F(TransUtilTest, SummaryTellsTheLimitsInShiftJis) {
    for (const auto& [age, size, attachments, attachmentSize, summary] :
         test::Table<int, int, int, int, std::string>("summaries")) {
        CEudoraAppInfo info;
        info.m_bLimitMailAge = age;
        info.m_bLimitMailSize = size;
        info.m_bAttachments = attachments;
        info.m_bLimitAttachSize = attachmentSize;
        EXPECT_EQ(info.GetSummaryText().Str(), summary);
    }
}

TEST_F(TransUtilTest, OnlyExactConversionsAreUsed) {
    constexpr auto kId = frame::StringId::kCannotOpenFile;
    for (const auto& [text, alone, numbered] : test::Rows<3>("formats")) {
        LoadStrings({{1, text}});
        EXPECT_EQ(util.FormatString(kId, "T%n").Str(), alone) << text;
        EXPECT_EQ(util.FormatString(kId, "T%n", 27).Str(), numbered) << text;
    }
    LoadStrings({{1, std::string(1500, 'x')}});
    EXPECT_EQ(util.FormatString(kId, "T%n").GetLength(), 1023);
}

// The bundle is looked for in the first folder, then by the system's search, under the language,
// the alternative, and the known ones; null keeps what an earlier call gave.
TEST_F(TransUtilTest, InitialisationFindsABundleAndThenEudora) {
    const tagRENVSETTINGS env{"C:\\env", "text"};
    const tagRTRANSSETTINGS settings{0, "C:\\set", "t", "IT"};
    std::string message(12, 'x');
    util.csSettingsDir.Empty();
    machine.libraries.AddResources("C:\\env\\kvlEUDEN.dll", {{71, "no Eudora"}});
    machine.libraries.AddResources("kvlEUDFR.dll", {});
    for (const auto& [length, filled] :
         {std::pair{0, "xxxxxxxxxxxx"}, {4, "no Exxxxxxxx"}, {12, "no Eudora\0\0"}}) {
        EXPECT_EQ(util.InitTranslatorEx(&env, nullptr, "EN", message.data(), length), RRC_FAILED);
        EXPECT_EQ(message, std::string(filled, 12));
        EXPECT_EQ(DrainErrors().size(), length > 0 ? 0U : 1U);
    }
    const char* key = "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
    const auto root = platform::RegistryRoot::kLocalMachine;
    (void)machine.registry.WriteText(root, key, "Path", "C:\\E");
    (void)machine.registry.WriteText(root, key, "", "C:\\E\\Eudora.exe");
    machine.files.Put("C:\\E\\Eudora.exe", "MZ");
    const auto before = machine.libraries.Tries().size();
    EXPECT_EQ(util.InitTranslatorEx(&env, &settings, "JP", message.data(), 12), RRC_OK);
    EXPECT_EQ(message, "no Eudora\0\0\0"s) << "a success leaves the buffer alone";
    std::string tries;
    for (std::size_t i = before; i < machine.libraries.Tries().size(); ++i) {
        const std::string& path = machine.libraries.Tries()[i];
        EXPECT_EQ(path.substr(0, path.size() - 6), i - before < 9 ? "C:\\set\\kvlEUD" : "kvlEUD");
        tries += path.substr(path.size() - 6, 2);
    }
    EXPECT_EQ(tries, "JPITENDEFRESITPTJPJPITENDEFR") << "C:\\env is no choice beside C:\\set";
    EXPECT_EQ(util.InitTranslatorEx(nullptr, nullptr, nullptr, nullptr, 0), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str() + util.csLanguage.Str(), "FRJP");
    EXPECT_EQ(util.csSettingsDir.Str() + util.csTransText.Str(), "C:\\sett");
    EXPECT_EQ(util.csNicknamePath, "C:\\E\\nndbase.txt");
    EXPECT_EQ(machine.libraries.LoadedCount(), 1);

    platform::testing::TestSystem bare;
    CEudoraTransUtil none(bare.system);
    EXPECT_EQ(none.InitTranslatorEx(&env, nullptr, "JP", message.data(), 12), RRC_FAILED);
    EXPECT_EQ(message, std::string(12, '\0'));
    EXPECT_EQ(bare.libraries.Tries().size(), 16U) << "no alternative, so eight codes twice";
    EXPECT_STREQ(LastVornErrorString(), "Unable to locate any resource DLL.");
}

}  // namespace
