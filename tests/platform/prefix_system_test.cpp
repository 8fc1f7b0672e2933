#include "platform/posix/prefix_system.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include "platform/testing/scripted_dialogs.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/pe_builder.h"
#include "tests/platform/prefix_folder.h"

namespace test {

using platform::ErrorCode;
using platform::posix::PrefixSystem;

TEST(PrefixProcesses, SaysWhatThePrefixSays) {
    struct Case {
        const char* values;
        unsigned major, minor;
    };
    const Case cases[] = {
        {"", 6, 1},
        {"\"CurrentVersion\"=\"5.1\"\n", 5, 1},
        {"\"CurrentVersion\"=\"4\"\n", 6, 1},
        {"\"CurrentVersion\"=\"4.x\"\n", 6, 1},
        {"\"CurrentVersion\"=\"6.3\"\n\"CurrentMajorVersionNumber\"=dword:0000000a\n"
         "\"CurrentMinorVersionNumber\"=dword:00000000\n",
         10, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.values);
        const PrefixFolder prefix;
        prefix.PutRegistry(
            std::string(
                "\n#arch=win64\n[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1\n") +
            c.values +
            "[System\\\\CurrentControlSet\\\\Control\\\\Nls\\\\Codepage] 1\n\"ACP\"=\"x\"\n");
        const PrefixSystem owner(prefix.Path());
        auto& processes = owner.Get().processes;
        const auto version = processes.Version();
        ASSERT_TRUE(version);
        EXPECT_EQ(version->major, c.major);
        EXPECT_EQ(version->minor, c.minor);
        EXPECT_EQ(processes.CodePage(), 1252u);
        EXPECT_EQ(CodeOf(processes.Start("C:\\Eudora.exe")), ErrorCode::kNotSupported);
        EXPECT_FALSE(processes.WindowExists("EudoraMainWindow"));
    }
}

TEST(PrefixProcesses, ReadsTheProfile) {
    const PrefixFolder prefix;
    const PrefixSystem owner(prefix.Path());
    auto& processes = owner.Get().processes;
    EXPECT_EQ(processes.ProfileNumber("Mail", "MAPI", 5), 5);
    WriteDisk(prefix.DriveC() / "windows/WIN.INI",
              "MAPI=9\r\n[other]\r\nMAPI=8\r\n[MAIL]\r\n; MAPI=7\r\n mapi = 1 \r\nText=yes\r\n"
              "Neg=-3x\r\nBig=99999999999\r\nLast=4");
    const std::pair<const char*, int> cases[] = {{"MAPI", 1}, {"text", 0}, {"neg", -3},
                                                 {"Big", 0},  {"last", 4}, {"none", 5}};
    for (const auto& [key, expected] : cases) {
        EXPECT_EQ(processes.ProfileNumber("mail", key, 5), expected) << key;
    }
    EXPECT_EQ(processes.ProfileNumber("none", "MAPI", 5), 5);
}

TEST(PrefixLibraries, FindsBundlesAndCutsBetweenCharacters) {
    const PrefixFolder prefix;
    const TempFolder own;
    PeBuilder builder;
    builder.strings[0] = {{1, u"a\u8868\u8868"}, {2, u"\U0001F4E7x"}, {79, u"In"}};
    WriteDisk(prefix.DriveC() / "Bundles/KVLEUDJP.DLL", builder.Build());
    WriteDisk(prefix.DriveC() / "windows/system32/kvlEUDEN.dll", builder.Build());
    WriteDisk(prefix.DriveC() / "windows/text.dll", "no library");
    builder.strings[0] = {{1, u"own"}};
    WriteDisk(own / "kvlEUDDE.dll", builder.Build());
    WriteDisk(own / "kvlEUDEN.dll", builder.Build());
    const platform::posix::PathMapper mapper(prefix.Path(), 932);
    platform::posix::PrefixLibraries libraries(mapper, platform::NativeFiles(),
                                               own.Path().string());

    auto japanese = libraries.LoadResources("c:\\bundles\\kvlEUDJP.dll");
    ASSERT_TRUE(japanese) << japanese.Error().Message();
    const std::size_t lengths[] = {0, 1, 1, 3, 3, 5, 5};
    for (std::size_t limit = 0; limit < std::size(lengths); ++limit) {
        EXPECT_EQ((*japanese)->Text(1, limit).size(), lengths[limit]) << limit;
    }
    EXPECT_EQ((*japanese)->Text(2, 100), "?x");
    EXPECT_EQ((*japanese)->Text(3, 100), "");
    EXPECT_EQ((*libraries.LoadResources("kvlEUDEN.dll"))->Text(1, 100), "own");
    EXPECT_EQ((*libraries.LoadResources("kvlEUDDE.dll"))->Text(1, 100), "own");
    std::filesystem::remove(own / "kvlEUDEN.dll");
    EXPECT_EQ((*libraries.LoadResources("kvleuden.DLL"))->Text(79, 100), "In");
    EXPECT_EQ(CodeOf(libraries.LoadResources("text.dll")), ErrorCode::kCorrupt);
    EXPECT_EQ(CodeOf(libraries.LoadResources("none.dll")), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(libraries.LoadResources("C:\\bundles\\none.dll")), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(libraries.LoadResources("C:\\bundles")), ErrorCode::kAccessDenied);
}

TEST(PrefixLibraries, AnswersTheMailLibraryWithTheStandIn) {
    const PrefixFolder prefix;
    const TempFolder own;
    const platform::posix::PathMapper mapper(prefix.Path(), 1252);
    platform::posix::PrefixLibraries libraries(mapper, platform::NativeFiles(),
                                               own.Path().string());
    WriteDisk(prefix.DriveC() / "Eudora/EUMAPI32.DLL", PeBuilder().Build());
    WriteDisk(prefix.DriveC() / "Eudora/other.dll", PeBuilder().Build());
    EXPECT_EQ(CodeOf(libraries.Load("C:\\Eudora\\EUMAPI32.DLL")), ErrorCode::kNotFound);
    std::filesystem::copy_file(KV_TEST_LIBRARY, own / "libEUMAPI32.so");
    for (const char* path : {"C:\\Eudora\\eumapi32.dll", "EUMAPI32.DLL", "Q:\\x\\EuMapi32.Dll"}) {
        auto library = libraries.Load(path);
        ASSERT_TRUE(library) << path;
        const auto answer = reinterpret_cast<int (*)()>((*library)->Symbol("Answer"));
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer(), 42);
        EXPECT_EQ((*library)->Symbol("NoSuchName"), nullptr);
    }
    EXPECT_TRUE(libraries.Load(KV_TEST_LIBRARY));
    EXPECT_EQ(CodeOf(libraries.Load("C:\\Eudora\\other.dll")), ErrorCode::kNotSupported);
    EXPECT_EQ(CodeOf(libraries.Load("C:\\Eudora\\none.dll")), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(libraries.Load("libnone-of-that-name.so")), ErrorCode::kNotFound);
}

namespace {

platform::testing::ScriptedDialogs* scripted = nullptr;

platform::Dialogs* Source() {
    return scripted;
}

class NoLogic : public platform::DialogLogic {
    void OnInit(platform::DialogView&) override {}
    void OnCommand(platform::DialogView&, int) override {}
};

}  // namespace

TEST(HostedDialogs, AskTheProviderAtEachUse) {
    platform::posix::HostedDialogs dialogs(1252);
    platform::testing::ScriptedDialogs provider;
    NoLogic logic;
    const auto showAll = [&] {
        provider.fileAnswers = {"C:\\x"};
        provider.modalScripts.push_back([](auto& view) { view.End(1); });
        ::testing::internal::CaptureStderr();
        dialogs.ShowMessage("caf\xE9", "Error", platform::MessageIcon::kError);
        const bool isChosen = dialogs.OpenFile({}).has_value();
        const int result = dialogs.RunModal({}, logic);
        return ::testing::internal::GetCapturedStderr() + (isChosen ? "chosen " : "none ") +
               std::to_string(result);
    };
    EXPECT_EQ(showAll(), "Error: caf\u00E9\nnone 2");
    platform::SetDialogSource(Source);
    EXPECT_EQ(showAll(), "Error: caf\u00E9\nnone 2");
    scripted = &provider;
    EXPECT_EQ(showAll(), "chosen 1");
    EXPECT_EQ(provider.messages.size(), 1u);
    platform::SetDialogSource(nullptr);
    EXPECT_EQ(showAll(), "Error: caf\u00E9\nnone 2");
}

TEST(PosixClock, KnowsTheOffsetOfTheInstant) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    platform::posix::PosixClock clock;
    const auto at = [](std::time_t time) { return std::chrono::system_clock::from_time_t(time); };
    EXPECT_EQ(clock.UtcOffset(at(1'705'000'000)).count(), 3600);  // January 2024
    EXPECT_EQ(clock.UtcOffset(at(1'720'000'000)).count(), 7200);  // July 2024
}

}  // namespace test
