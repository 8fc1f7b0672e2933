#include "integration/locate/locate.h"

#include <gtest/gtest.h>

#include "platform/testing/test_system.h"

namespace {

constexpr const char* kAppPaths =
    "SOFTWARE\\Microsoft\\windows\\CurrentVersion\\App Paths\\Eudora.exe";
constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";
constexpr auto kMachine = platform::RegistryRoot::kLocalMachine;
const CString kProgram("C:\\Eudora 7\\Eudora.exe");

class LocateTest : public ::testing::Test {
  protected:
    void Register(const char* key, const char* value, const std::string& text) {
        ASSERT_TRUE(machine.registry.WriteText(kMachine, key, value, text));
    }
    bool Find() { return locate::FindEudora(machine.registry, machine.files, folder, program); }
    std::string Nickname(const CString& path) {
        return locate::FindNicknameFile(machine.files, path, machine.system.codePage).Str();
    }

    platform::testing::TestSystem machine;
    CString folder{"old folder"}, program{"old program"};
};

TEST_F(LocateTest, EudoraNeedsBothValuesAndItsProgram) {
    EXPECT_FALSE(Find());
    EXPECT_EQ(folder, "old folder");
    Register(kAppPaths, "path", "C:\\Eudora 7");
    EXPECT_FALSE(Find());
    EXPECT_EQ(folder, "C:\\Eudora 7") << "set all the same";
    EXPECT_EQ(program, "old program");
    Register(kAppPaths, "", kProgram.Str());
    EXPECT_FALSE(Find()) << "the program is missing";
    EXPECT_EQ(program, kProgram);
    machine.files.Put(kProgram.Str(), "MZ");
    EXPECT_TRUE(Find());
    Register(kAppPaths, "path", std::string(260, 'x'));
    EXPECT_FALSE(Find()) << "a text of 260 bytes has no room";
}

TEST_F(LocateTest, NicknameFile) {
    struct Row {
        const char* program;
        std::vector<const char*> files;
        const char* found;
    };
    const Row rows[] = {
        {"C:\\E\\Eudora.exe", {}, "C:\\E\\nndbase.txt"},
        {"C:\\E\\Eudora.exe", {"C:\\E\\NickName\\x.doc"}, "C:\\E\\nndbase.txt"},
        {"C:\\E\\Eudora.exe",
         {"C:\\E\\nndbase.txt", "C:\\E\\Nickname\\zoo list.TXT", "C:\\E\\NickName\\a.txt"},
         "C:\\E\\NickName\\zoo list.TXT"},
        {"Eudora.exe", {}, "nndbase.txt"},
        {"Eudora.exe", {"C:\\NickName\\root.txt"}, "\\NickName\\root.txt"},
        {"D:\\Eudora.exe", {}, "D:\\nndbase.txt"},
    };
    for (const Row& row : rows) {
        platform::testing::MemoryFiles files;
        for (const char* file : row.files) files.Put(file, "x");
        EXPECT_EQ(locate::FindNicknameFile(files, row.program, 1252).Str(), row.found);
    }
}

TEST_F(LocateTest, ATrailByteIsNoBackslash) {
    machine.system.codePage = 932;
    EXPECT_EQ(Nickname("C:\\\x83\x5C\\E.exe"), "C:\\\x83\x5C\\nndbase.txt");
    EXPECT_EQ(Nickname("C:\\a\x83\x5C"), "C:\\nndbase.txt");
}

TEST_F(LocateTest, AListedFileThatCannotBeReachedGivesNothing) {
    machine.files.Put("C:\\E\\NickName\\a.txt", "x");
    // The listing is the first operation, the short path the second, the test the third.
    for (int n = 2; n <= 3; ++n) {
        machine.faults.Arm(platform::testing::Fault::kFail, n);
        EXPECT_EQ(locate::FindNicknameFile(machine.faults, "C:\\E\\Eudora.exe", 1252).Str(), "")
            << n;
    }
    machine.faults.Disarm();
    const std::string deep = "C:\\" + std::string(240, 'd') + "\\";
    machine.files.Put(deep + "NickName\\name.txt", "x");
    EXPECT_EQ(Nickname(deep + "E.exe"), "") << "its short path has no room";
}

TEST_F(LocateTest, DefaultClientIsTheExactCommand) {
    machine.files.Put(kProgram.Str(), "MZ");
    machine.files.SetShortName(kProgram.Str(), "EUDORA~1.EXE");
    struct Row {
        const char* command;
        bool isDefault;
    };
    const Row rows[] = {{"C:\\Eudora 7\\EUDORA~1.EXE /M %1", true},
                        {"c:\\EUDORA 7\\eudora~1.exe /m %1", true},
                        {"C:\\Eudora 7\\Eudora.exe /M %1", false},
                        {"\"C:\\Eudora 7\\EUDORA~1.EXE\" /M %1", false},
                        {"C:\\Eudora 7\\EUDORA~1.EXE /M %1 /x", false},
                        {" /M %1", false}};
    EXPECT_FALSE(locate::IsDefaultClient(machine.registry, machine.files, kProgram));
    for (const Row& row : rows) {
        Register(kMailto, "", row.command);
        EXPECT_EQ(locate::IsDefaultClient(machine.registry, machine.files, kProgram), row.isDefault)
            << row.command;
    }
}

}  // namespace
