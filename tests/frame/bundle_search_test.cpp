#include "tests/frame/frame_fixture.h"

namespace {

using BundleTest = FrameTest;

// The paths of the bundles of some languages, as in "JP EN".
std::vector<std::string> In(const std::string& prefix, const std::string& codes) {
    std::vector<std::string> paths;
    for (std::size_t at = 0; at < codes.size(); at += 3) {
        paths.push_back(prefix + codes.substr(at, 2) + ".dll");
    }
    return paths;
}

TEST_F(BundleTest, TextsOfOneBundleAtATime) {
    LoadStrings({{1, std::string(1500, 'x')}, {2, ""}});
    {
        LogCapture log;
        EXPECT_EQ(util.GetString(frame::StringId::kCannotOpenFile).GetLength(), 1023);
        for (unsigned missing : {2, 3}) util.AddError(static_cast<frame::StringId>(missing));
        EXPECT_EQ(DrainErrors(), (std::vector<std::string>{"", ""})) << "queued all the same";
        EXPECT_EQ(LogCapture::Lines().size(), 2U);
    }
    for (int missing = 0; missing < 4; ++missing) {
        LoadStrings({});
        EXPECT_EQ(machine.libraries.LoadedCount(), 1);
        const char* a[4] = {"x", "C:\\b", "EN", ""};
        a[missing] = nullptr;
        EXPECT_FALSE(util.bundle.Load(a[0], a[1], a[2], a[3], false));
        EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    }
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
    for (const std::string odd : {"%s", "%d and %s", "%n", "%s%s", "%s%d%d", "%s %", "%5s"}) {
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
    RRETURNCODE Initialize(tagRTRANSSETTINGS settings, const char* language, int length = 12) {
        message.assign(12, 'x');
        return util.InitTranslatorEx(&env, &settings, language, message.data(), length);
    }

    tagRENVSETTINGS env{"C:\\env", "text"};
    std::string message;
};

TEST_F(InitializationTest, NullKeepsWhatAnEarlierCallGave) {
    InstallEudora();
    machine.libraries.AddResources("C:\\set\\kvlEUDDE.dll", {{1, "x"}});
    EXPECT_EQ(Initialize({0, "C:\\set", "t", "DE"}, "XX"), RRC_OK);
    EXPECT_EQ(message, std::string(12, 'x')) << "a success leaves the buffer alone";
    EXPECT_EQ(Initialize({}, nullptr), RRC_OK);
    EXPECT_EQ(util.bundle.Current().Str() + util.csLanguage.Str(), "DEXX");
    EXPECT_EQ(util.csSettingsDir.Str() + util.csTransText.Str(), "C:\\sett");
    EXPECT_EQ(util.csNicknamePath, "C:\\Eudora\\nndbase.txt");
}

TEST_F(InitializationTest, TheFirstFolderIsFollowedByTheSystemsSearch) {
    InstallEudora();
    EXPECT_EQ(Initialize({0, "C:\\set", nullptr, "IT"}, "JP"), RRC_OK);
    EXPECT_EQ(util.bundle.Current(), "FR") << "C:\\env is no choice beside C:\\set";
    auto expected = In("C:\\set\\kvlEUD", "JP IT EN DE FR ES IT PT JP");
    for (auto& path : In("kvlEUD", "JP IT EN DE FR")) expected.push_back(path);
    EXPECT_EQ(machine.libraries.Tries(), expected);
}

TEST_F(InitializationTest, AFailureFillsTheBuffer) {
    for (const auto& [length, buffer] :
         {std::pair{12, "no Eudora\0\0"}, {4, "no Exxxxxxxx"}, {0, "xxxxxxxxxxxx"}}) {
        EXPECT_EQ(Initialize({}, "EN", length), RRC_FAILED);
        EXPECT_EQ(message, std::string(buffer, 12));
        EXPECT_EQ(machine.libraries.Tries().front(), "C:\\env\\kvlEUDEN.dll");
        EXPECT_EQ(DrainErrors().size(), length > 0 ? 0U : 1U);
    }
    EXPECT_EQ(util.InitTranslatorEx(nullptr, nullptr, "JP", message.data(), 12), RRC_FAILED);
    EXPECT_TRUE(message.starts_with("pas d'Eudora")) << message;
    platform::testing::TestSystem bare;
    LogCapture log;
    EXPECT_EQ(
        CEudoraTransUtil(bare.system).InitTranslatorEx(&env, nullptr, "JP", message.data(), 12),
        RRC_FAILED);
    EXPECT_EQ(message, std::string(12, '\0'));
    EXPECT_EQ(bare.libraries.Tries().size(), 16U) << "no alternative, so eight codes twice";
    EXPECT_STREQ(LastVornErrorString(), "Unable to locate any resource DLL.");
    EXPECT_TRUE(LogCapture::Has(
        "1 ERROR: Language bundle load failed Base=kvlEUD, Path=C:\\env, LangId=JP\n"));
}

}  // namespace
