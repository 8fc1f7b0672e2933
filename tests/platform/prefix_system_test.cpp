#include "platform/prefix/prefix_system.h"

#include <gtest/gtest.h>

#include <tuple>

#include "platform/prefix/prefix_system.h"
#include "platform/testing/scripted_dialogs.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/prefix_folder.h"

namespace test {

using platform::ErrorCode;
using platform::prefix::PrefixSystem;

TEST(PrefixProcesses, SaysWhatThePrefixSays) {
    using Row = std::tuple<const char*, unsigned, unsigned>;
    for (const auto& [values, major, minor] :
         {Row{"", 6, 1}, Row{"\"CurrentVersion\"=\"5.0\"\n", 5, 0},
          Row{"\"CurrentVersion\"=\"4\"\n", 6, 1}, Row{"\"CurrentVersion\"=\"4.x\"\n", 6, 1},
          Row{"\"CurrentVersion\"=\"6.3\"\n\"CurrentMajorVersionNumber\"=dword:0000000a\n"
              "\"CurrentMinorVersionNumber\"=dword:00000000\n",
              10, 0}}) {
        SCOPED_TRACE(values);
        const PrefixFolder prefix;
        prefix.PutRegistry(
            std::string("\n[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1\n") + values);
        const PrefixSystem owner(prefix.Path());
        const auto version = owner.system.processes.Version();
        EXPECT_EQ(version->major, major);
        EXPECT_EQ(version->minor, minor);
        EXPECT_EQ(owner.system.codePage, 1252u);
        EXPECT_EQ(CodeOf(owner.system.processes.Start("C:\\x.exe")), ErrorCode::kNotSupported);
    }
}

TEST(PrefixProcesses, ReadsTheProfile) {
    const PrefixFolder prefix;
    const PrefixSystem owner(prefix.Path());
    auto& processes = owner.system.processes;
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

TEST(PrefixLibraries, AreFoundInTheOwnFolderAndOnTheDrive) {
    const PrefixFolder prefix;
    const TempFolder own;
    const std::string strings = ReadDisk(KV_TEST_STRINGS);
    WriteDisk(prefix.DriveC() / "Bundles/KVLEUDJP.DLL", strings);
    WriteDisk(prefix.DriveC() / "windows/system32/kvlEUDEN.dll", "hidden by the own one");
    WriteDisk(prefix.DriveC() / "windows/system32/kvlEUDFR.dll", strings);
    WriteDisk(prefix.DriveC() / "windows/text.dll", "no library");
    WriteDisk(prefix.DriveC() / "Eudora/EUMAPI32.DLL", strings);
    WriteDisk(own / "kvlEUDEN.dll", strings);
    const platform::prefix::PathMapper mapper(prefix.Path(), 932);
    const auto libraries = platform::prefix::MakeLibraries(mapper, own.Path().string());

    auto japanese = libraries->LoadResources("c:\\bundles\\kvlEUDJP.dll");
    ASSERT_TRUE(japanese) << japanese.Error().Message();
    EXPECT_EQ((*japanese)->Text(17, 3), "\x93\xFA") << "no half of a character";
    EXPECT_EQ((*japanese)->Text(17, 100), "\x93\xFA\x96{?x");
    EXPECT_TRUE(libraries->LoadResources("kvlEUDEN.dll"));
    EXPECT_TRUE(libraries->LoadResources("kvleudfr.DLL"));
    for (const auto& [path, code] : {std::pair{"text.dll", ErrorCode::kCorrupt},
                                     {"none.dll", ErrorCode::kNotFound},
                                     {"C:\\bundles\\none.dll", ErrorCode::kNotFound},
                                     {"C:\\bundles", ErrorCode::kNotRegular}}) {
        EXPECT_EQ(CodeOf(libraries->LoadResources(path)), code) << path;
    }

    // The mail library's place is taken by the stand-in of the own folder.
    EXPECT_EQ(CodeOf(libraries->Load("C:\\Eudora\\EUMAPI32.DLL")), ErrorCode::kNotFound);
    std::filesystem::copy_file(KV_TEST_LIBRARY, own / "libEUMAPI32.so");
    for (const char* path : {"C:\\Eudora\\eumapi32.dll", "Q:\\x\\EuMapi32.Dll", KV_TEST_LIBRARY}) {
        auto library = libraries->Load(path);
        ASSERT_TRUE(library) << path;
        const auto answer = reinterpret_cast<int (*)()>((*library)->Symbol("Answer"));
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer(), 42);
        EXPECT_EQ((*library)->Symbol("NoSuchName"), nullptr);
    }
    EXPECT_EQ(CodeOf(libraries->Load("C:\\bundles\\kvleudjp.dll")), ErrorCode::kNotSupported);
    EXPECT_EQ(CodeOf(libraries->Load("libnone-of-that-name.so")), ErrorCode::kNotFound);
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
    const PrefixFolder prefix;
    const PrefixSystem owner(prefix.Path());
    platform::Dialogs& dialogs = owner.system.dialogs;
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
    platform::SetDialogSource(Source);
    EXPECT_EQ(showAll(), "Error: caf\u00E9\nnone 2");
    scripted = &provider;
    EXPECT_EQ(showAll(), "chosen 1");
    platform::SetDialogSource(nullptr);
    EXPECT_EQ(showAll(), "Error: caf\u00E9\nnone 2");
}

}  // namespace test
