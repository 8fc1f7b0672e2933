#include "frame/initialization.h"
#include "tests/frame/frame_fixture.h"

namespace {

class BundleTest : public FrameTest {};

// The paths of the bundles of some languages, as in "JP EN".
std::vector<std::string> In(const std::string& prefix, const std::string& codes) {
    std::vector<std::string> paths;
    for (std::size_t at = 0; at < codes.size(); at += 3) {
        paths.push_back(prefix + codes.substr(at, 2) + ".dll");
    }
    return paths;
}

TEST_F(BundleTest, SearchOrder) {
    using Row = std::tuple<const char*, const char*, bool, const char*, const char*, const char*>;
    for (const auto& [language, alternative, noFallback, present, tries, current] :
         {Row{"JP", "", false, "DE", "JP EN DE", "DE"},
          Row{"JP", "FR", false, "FR EN", "JP FR", "FR"}, Row{"", "IT", false, "IT", "IT", "IT"},
          Row{"DE", "DE", true, "EN", "DE DE", ""}, Row{"", "", true, "EN", "", ""},
          Row{"EN", "", false, "", "EN EN DE FR ES IT PT JP", ""}}) {
        platform::testing::FakeLibraries libraries;
        for (const auto& path : In("D\\k", present)) {
            libraries.AddResources(path, {{1, path.substr(3, 2)}});
        }
        CRLanguageBundle bundle(libraries);
        const bool found = *current != '\0';
        EXPECT_EQ(bundle.Load("k", "D", language, alternative, noFallback), found);
        EXPECT_EQ(libraries.Tries(), In("D\\k", tries));
        EXPECT_EQ(bundle.Current().Str(), current);
        CString text("old");
        EXPECT_EQ(bundle.LoadString(1, text), found);
        EXPECT_EQ(text.Str(), current);
    }
}

TEST_F(BundleTest, ANewSearchFreesTheOldBundle) {
    machine.libraries.AddResources("kEN.dll", {{1, "one"}});
    CRLanguageBundle bundle(machine.libraries);
    for (int missing = 0; missing < 4; ++missing) {
        for (int i = 0; i < 2; ++i) ASSERT_TRUE(bundle.Load("k", "", "EN", "", true));
        EXPECT_EQ(machine.libraries.LoadedCount(), 1);
        const char* a[4] = {"k", "", "EN", ""};
        a[missing] = nullptr;
        EXPECT_FALSE(bundle.Load(a[0], a[1], a[2], a[3], false));
        EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    }
}

TEST_F(BundleTest, LongAndMissingStrings) {
    LoadStrings({{1, std::string(1500, 'x')}, {2, ""}});
    LogCapture log;
    EXPECT_EQ(util.GetString(frame::StringId::kCannotOpenFile).GetLength(), 1023);
    util.AddError(static_cast<frame::StringId>(2));
    util.AddError(static_cast<frame::StringId>(3));
    EXPECT_EQ(DrainErrors(), (std::vector<std::string>{"", ""})) << "a missing text is queued too";
    EXPECT_EQ(LogCapture::Lines().size(), 2U);
}

TEST_F(BundleTest, OnlyExactConversionsAreUsed) {
    const auto format = [&](const std::string& text, std::optional<int> number) {
        LoadStrings({{1, text}});
        constexpr auto kId = frame::StringId::kCannotOpenFile;
        return (number ? util.FormatString(kId, "T%n", *number) : util.FormatString(kId, "T%n"))
            .Str();
    };
    EXPECT_EQ(format("<%s>", {}), "<T%n>") << "the text is no format";
    EXPECT_EQ(format("100%% of %s", {}), "100% of T%n");
    EXPECT_EQ(format("%s and %d", 27), "T%n and 27");
    for (const std::string odd :
         {"%s", "%d and %s", "%n", "%s%s", "%s%d%d", "%s %", "%s%n", "%ls %lld", "%5s", "%s %5d"}) {
        EXPECT_EQ(format(odd, 27), odd);
        EXPECT_EQ(format(odd, {}), odd == "%s" ? "T%n" : odd);
    }
}

class InitializationTest : public FrameTest {
  protected:
    InitializationTest() {
        util.csSettingsDir.Empty();
        machine.libraries.AddResources("C:\\env\\kvlEUDEN.dll", {{71, "no Eudora"}});
        machine.libraries.AddResources("kvlEUDFR.dll", {{71, "pas d'Eudora"}});
    }
    void InstallEudora() {
        const char* key = "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
        const auto root = platform::RegistryRoot::kLocalMachine;
        (void)machine.registry.WriteText(root, key, "Path", "C:\\Eudora");
        (void)machine.registry.WriteText(root, key, "", "C:\\Eudora\\Eudora.exe");
        machine.files.Put("C:\\Eudora\\Eudora.exe", "MZ");
    }
    RRETURNCODE InitializeWith(tagRTRANSSETTINGS settings, const char* language, int length = 12) {
        message.assign(12, 'x');
        return frame::InitializeWith(util, &env, &settings, language, message.data(), length);
    }

    tagRENVSETTINGS env{"C:\\env", "text"};
    std::string message;
};

TEST_F(InitializationTest, NullKeepsWhatAnEarlierCallGave) {
    InstallEudora();
    machine.libraries.AddResources("C:\\set\\kvlEUDDE.dll", {{1, "x"}});
    EXPECT_EQ(InitializeWith({0, "C:\\set", "t", "DE"}, "XX"), RRC_OK);
    EXPECT_EQ(message, std::string(12, 'x')) << "a success leaves the buffer alone";
    EXPECT_EQ(InitializeWith({}, nullptr), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str() + util.csLanguage.Str(), "DEXX");
    EXPECT_EQ(util.csSettingsDir.Str() + util.csTransText.Str(), "C:\\sett");
    EXPECT_EQ(util.csNicknamePath.Str(), "C:\\Eudora\\nndbase.txt");
    EXPECT_EQ(frame::Initialize(util, &env), RRC_OK);
    EXPECT_EQ(machine.libraries.LoadedCount(), 1);
}

TEST_F(InitializationTest, TheFirstFolderIsFollowedByTheSystemsSearch) {
    InstallEudora();
    EXPECT_EQ(InitializeWith({0, "C:\\set", nullptr, nullptr}, "JP"), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str(), "FR") << "C:\\env is no choice beside C:\\set";
    auto expected = In("C:\\set\\kvlEUD", "JP EN DE FR ES IT PT JP");
    for (auto& path : In("kvlEUD", "JP EN DE FR")) expected.push_back(path);
    EXPECT_EQ(machine.libraries.Tries(), expected);
}

TEST_F(InitializationTest, AMissingEudoraFillsTheBuffer) {
    for (const auto& [length, buffer] :
         {std::pair{12, "no Eudora\0\0"}, {4, "no Exxxxxxxx"}, {0, "xxxxxxxxxxxx"}}) {
        EXPECT_EQ(InitializeWith({}, "EN", length), RRC_FAILED);
        EXPECT_EQ(message, std::string(buffer, 12));
        EXPECT_EQ(DrainErrors().size(), length > 0 ? 0U : 1U);
    }
}

TEST_F(InitializationTest, AMissingBundleIsTheLastErrorOnly) {
    platform::testing::TestSystem bare;
    CEudoraTransUtil other(bare.system);
    tagRTRANSSETTINGS settings{};
    LogCapture log;
    EXPECT_EQ(frame::InitializeWith(other, &env, &settings, "JP", message.data(), 0), RRC_FAILED);
    message.assign(8, 'x');
    EXPECT_EQ(frame::InitializeWith(other, &env, &settings, "JP", message.data(), 8), RRC_FAILED);
    EXPECT_EQ(message, std::string(8, '\0'));
    EXPECT_STREQ(LastVornErrorString(), "Unable to locate any resource DLL.");
    EXPECT_TRUE(other.saErrors.IsEmpty());
    EXPECT_TRUE(LogCapture::Has(
        "1 ERROR: Language bundle load failed Base=kvlEUD, Path=C:\\env, LangId=JP\n"));
}

}  // namespace
