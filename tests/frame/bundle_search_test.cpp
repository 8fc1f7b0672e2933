#include "frame/format_text.h"
#include "frame/initialization.h"
#include "tests/frame/frame_fixture.h"

namespace {

using Strings = platform::testing::FakeLibraries::Strings;

constexpr const char* kAppPaths =
    "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";

class BundleTest : public FrameTest {};

std::vector<std::string> In(const std::string& prefix, std::initializer_list<const char*> codes) {
    std::vector<std::string> paths;
    for (const char* code : codes) paths.push_back(prefix + code + ".dll");
    return paths;
}

TEST_F(BundleTest, SearchOrder) {
    struct Row {
        const char* language;
        const char* alternative;
        bool noFallback;
        std::vector<const char*> present;
        std::vector<std::string> tries;
        const char* current;
    };
    const Row rows[] = {
        {"JP", "", false, {"DE"}, In("D\\k", {"JP", "EN", "DE"}), "DE"},
        {"JP", "FR", false, {"JP", "FR", "EN"}, In("D\\k", {"JP"}), "JP"},
        {"XX", "FR", false, {"FR", "EN"}, In("D\\k", {"XX", "FR"}), "FR"},
        {"", "", false, {"EN"}, In("D\\k", {"EN"}), "EN"},
        {"", "IT", false, {"IT"}, In("D\\k", {"IT"}), "IT"},
        {"DE", "DE", true, {"EN"}, In("D\\k", {"DE", "DE"}), ""},
        {"", "", true, {"EN"}, {}, ""},
        {"EN", "", false, {}, In("D\\k", {"EN", "EN", "DE", "FR", "ES", "IT", "PT", "JP"}), ""},
    };
    for (const Row& row : rows) {
        platform::testing::FakeLibraries libraries;
        for (const char* code : row.present) {
            libraries.AddResources(std::string("D\\k") + code + ".dll", {{1, code}});
        }
        CRLanguageBundle bundle(libraries);
        const bool found = *row.current != '\0';
        EXPECT_EQ(bundle.Load("k", "D", row.language, row.alternative, row.noFallback), found);
        EXPECT_EQ(libraries.Tries(), row.tries);
        EXPECT_EQ(bundle.Current().Str(), row.current);
        CString text("old");
        EXPECT_EQ(bundle.LoadString(1, text), found);
        EXPECT_EQ(text.Str(), row.current);
    }
}

TEST_F(BundleTest, ANewSearchFreesTheOldBundle) {
    machine.libraries.AddResources("kEN.dll", {{1, "one"}});
    CRLanguageBundle bundle(machine.libraries);
    ASSERT_TRUE(bundle.Load("k", "", "EN", "", true)) << "no path: where the system looks";
    ASSERT_TRUE(bundle.Load("k", "", "EN", "", true));
    EXPECT_EQ(machine.libraries.LoadedCount(), 1);
    const char* arguments[4] = {"k", "", "EN", ""};
    for (int missing = 0; missing < 4; ++missing) {
        const char* a[4];
        std::copy(arguments, arguments + 4, a);
        a[missing] = nullptr;
        EXPECT_FALSE(bundle.Load(a[0], a[1], a[2], a[3], false));
        EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    }
}

TEST_F(BundleTest, LongAndMissingStrings) {
    LoadStrings({{1, std::string(1500, 'x')}, {2, ""}});
    LogCapture log;
    EXPECT_EQ(util.GetString(1).GetLength(), 1023);
    EXPECT_TRUE(LogCapture::Lines().empty());
    util.AddError(2);
    util.AddError(3);
    EXPECT_EQ(DrainErrors(), (std::vector<std::string>{"", ""})) << "a missing text is queued too";
    EXPECT_EQ(LogCapture::Lines().size(), 2U);
}

TEST(FormatTextTest, OnlyExactConversionsAreUsed) {
    struct Row {
        const char* format;
        const char* one;  // with a text
        const char* two;  // with a text and a number
    };
    const Row rows[] = {
        {"<%s>", "<T>", "<%s>"},
        {"%s and %d", "%s and %d", "T and 27"},
        {"%d and %s", "%d and %s", "%d and %s"},
        {"100%% of %s", "100% of T", "100%% of %s"},
        {"%n", "%n", "%n"},
        {"%s%s", "%s%s", "%s%s"},
        {"%s%d%d", "%s%d%d", "%s%d%d"},
        {"%s %", "%s %", "%s %"},
        {"%5s", "%5s", "%5s"},
        {"%s%n", "%s%n", "%s%n"},
        {"%ls %lld", "%ls %lld", "%ls %lld"},
        {"plain", "plain", "plain"},
        {"", "", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(frame::FormatText(row.format, "T", {}), row.one);
        EXPECT_EQ(frame::FormatText(row.format, "T", 27), row.two);
    }
    EXPECT_EQ(frame::FormatText("%s", "%n%s%d", {}), "%n%s%d") << "the text is no format";
}

class InitializationTest : public FrameTest {
  protected:
    InitializationTest() {
        util.csSettingsDir.Empty();
        machine.libraries.AddResources("C:\\env\\kvlEUDEN.dll", {{71, "no Eudora"}});
        machine.libraries.AddResources("kvlEUDFR.dll", {{71, "pas d'Eudora"}});
    }
    void InstallEudora() {
        const auto root = platform::RegistryRoot::kLocalMachine;
        (void)machine.registry.WriteText(root, kAppPaths, "Path", "C:\\Eudora");
        (void)machine.registry.WriteText(root, kAppPaths, "", "C:\\Eudora\\Eudora.exe");
        machine.files.Put("C:\\Eudora\\Eudora.exe", "MZ");
    }
    RRETURNCODE InitializeWith(tagRTRANSSETTINGS settings, const char* language) {
        message.assign(12, 'x');
        return frame::InitializeWith(util, &env, &settings, language, message.data(), 12);
    }

    tagRENVSETTINGS env{"C:\\env", "text"};
    std::string message;
};

TEST_F(InitializationTest, FindsBundleEudoraAndNicknameFile) {
    InstallEudora();
    EXPECT_EQ(InitializeWith({0, nullptr, nullptr, nullptr}, nullptr), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str(), "EN");
    EXPECT_EQ(util.csEudoraDir.Str(), "C:\\Eudora");
    EXPECT_EQ(util.csNicknamePath.Str(), "C:\\Eudora\\nndbase.txt");
    EXPECT_EQ(message, std::string(12, 'x')) << "a success leaves the buffer alone";
    EXPECT_EQ(frame::Initialize(util, &env), RRC_OK);
    EXPECT_EQ(machine.libraries.LoadedCount(), 1);
}

TEST_F(InitializationTest, NullKeepsWhatAnEarlierCallGave) {
    InstallEudora();
    machine.libraries.AddResources("C:\\set\\kvlEUDDE.dll", {{1, "x"}});
    EXPECT_EQ(InitializeWith({0, "C:\\set", "t", "DE"}, "XX"), RRC_OK);
    EXPECT_EQ(InitializeWith({0, nullptr, nullptr, nullptr}, nullptr), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str(), "DE");
    EXPECT_EQ(util.csLanguage.Str(), "XX");
    EXPECT_EQ(util.csSettingsDir.Str() + util.csTransText.Str(), "C:\\sett");
}

TEST_F(InitializationTest, TheFirstFolderIsFollowedByTheSystemsSearch) {
    InstallEudora();
    EXPECT_EQ(InitializeWith({0, "C:\\set", nullptr, nullptr}, "JP"), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str(), "FR") << "C:\\env is no choice beside C:\\set";
    auto expected = In("C:\\set\\kvlEUD", {"JP", "EN", "DE", "FR", "ES", "IT", "PT", "JP"});
    for (auto& path : In("kvlEUD", {"JP", "EN", "DE", "FR"})) expected.push_back(path);
    EXPECT_EQ(machine.libraries.Tries(), expected);
}

TEST_F(InitializationTest, AMissingEudoraFillsTheBuffer) {
    struct Row {
        int length;
        const char* buffer;  // 12 bytes
    };
    for (const Row& row :
         {Row{12, "no Eudora\0\0"}, Row{4, "no Exxxxxxxx"}, Row{0, "xxxxxxxxxxxx"}}) {
        message.assign(12, 'x');
        tagRTRANSSETTINGS settings{};
        LogCapture log;
        EXPECT_EQ(frame::InitializeWith(util, &env, &settings, "EN", message.data(), row.length),
                  RRC_FAILED);
        EXPECT_EQ(message, std::string(row.buffer, 12));
        EXPECT_TRUE(LogCapture::Has("1 Eudora Pro doesn't installed in your machine"));
        EXPECT_EQ(DrainErrors().size(), row.length > 0 ? 0U : 1U);
    }
}

TEST_F(InitializationTest, AMissingBundleIsTheLastErrorOnly) {
    env.pszEnvDir = "C:\\empty";
    platform::testing::FakeLibraries none;
    platform::System bare{machine.faults, machine.registry, machine.processes,
                          none,           machine.dialogs,  machine.clock};
    CEudoraTransUtil other(bare);
    std::string buffer(8, 'x');
    tagRTRANSSETTINGS settings{};
    LogCapture log;
    EXPECT_EQ(frame::InitializeWith(other, &env, &settings, "JP", buffer.data(), 8), RRC_FAILED);
    EXPECT_EQ(buffer, std::string(8, '\0'));
    EXPECT_STREQ(LastVornErrorString(), "Unable to locate any resource DLL.");
    EXPECT_TRUE(other.saErrors.IsEmpty());
    EXPECT_TRUE(LogCapture::Has(
        "1 ERROR: Language bundle load failed Base=kvlEUD, Path=C:\\empty, LangId=JP\n"));
}

}  // namespace
