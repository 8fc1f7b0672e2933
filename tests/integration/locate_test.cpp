#include "integration/locate/locate.h"

#include <gtest/gtest.h>

#include "platform/testing/test_system.h"

namespace {

constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";
constexpr auto kMachine = platform::RegistryRoot::kLocalMachine;
const CString kProgram("C:\\Eudora 7\\Eudora.exe");

class LocateTest : public ::testing::Test {
  protected:
    void Register(const char* key, const char* value, const std::string& text) {
        ASSERT_TRUE(machine.registry.WriteText(kMachine, key, value, text));
    }
    bool Find() { return locate::FindEudora(machine.registry, machine.files, folder, program); }

    platform::testing::TestSystem machine;
    CString folder{"old folder"}, program{"old program"};
};

TEST_F(LocateTest, EudoraNeedsBothValuesAndItsProgram) {
    EXPECT_FALSE(Find());
    EXPECT_EQ(folder, "old folder");
    Register(locate::kAppPathsKey, "path", "C:\\Eudora 7");
    EXPECT_FALSE(Find());
    EXPECT_EQ(folder, "C:\\Eudora 7") << "set all the same";
    EXPECT_EQ(program, "old program");
    Register(locate::kAppPathsKey, "", kProgram.Str());
    EXPECT_FALSE(Find()) << "the program is missing";
    EXPECT_EQ(program, kProgram);
    machine.files.Put(kProgram.Str(), "MZ");
    EXPECT_TRUE(Find());
    Register(locate::kAppPathsKey, "path", std::string(260, 'x'));
    EXPECT_FALSE(Find()) << "a text of 260 bytes has no room";
}

TEST_F(LocateTest, NicknameFile) {
    using Files = std::vector<const char*>;
    using Row = std::tuple<const char*, Files, const char*>;
    for (const auto& [path, present, found] :
         {Row{"C:\\E\\Eudora.exe", {"C:\\E\\NickName\\x.doc"}, "C:\\E\\nndbase.txt"},
          Row{"C:\\E\\Eudora.exe",
              {"C:\\E\\nndbase.txt", "C:\\E\\Nickname\\zoo list.TXT", "C:\\E\\NickName\\a.txt"},
              "C:\\E\\NickName\\zoo list.TXT"},
          Row{"Eudora.exe", {}, "nndbase.txt"},
          Row{"Eudora.exe", {"C:\\NickName\\root.txt"}, "\\NickName\\root.txt"},
          Row{"C:\\a\x83\x5C", {}, "C:\\nndbase.txt"}}) {
        platform::testing::MemoryFiles files;
        for (const char* file : present) files.Put(file, "x");
        EXPECT_EQ(locate::FindNicknameFile(files, path, 932).Str(), found);
    }
}

TEST_F(LocateTest, AListedFileThatCannotBeReachedGivesNothing) {
    machine.files.Put("C:\\E\\NickName\\a.txt", "x");
    // The listing is the first operation, the short path the second, the test the third.
    for (int n = 2; n <= 3; ++n) {
        machine.faults.Arm(platform::testing::Fault::kFail, n);
        EXPECT_EQ(locate::FindNicknameFile(machine.faults, "C:\\E\\Eudora.exe", 1252).Str(), "")
            << n;
    }
    const std::string deep = "C:\\" + std::string(240, 'd') + "\\";
    machine.files.Put(deep + "NickName\\name.txt", "x");
    EXPECT_EQ(locate::FindNicknameFile(machine.files, deep + "E.exe", 1252).Str(), "")
        << "its short path has no room";
}

TEST_F(LocateTest, DefaultClientIsTheExactCommand) {
    machine.files.Put(kProgram.Str(), "MZ");
    machine.files.SetShortName(kProgram.Str(), "EUDORA~1.EXE");
    const auto isDefault = [&] {
        return locate::IsDefaultClient(machine.registry, machine.files, kProgram);
    };
    EXPECT_FALSE(isDefault());
    for (const char* other :
         {"C:\\Eudora 7\\Eudora.exe /M %1", "C:\\Eudora 7\\EUDORA~1.EXE /M %1 /x"}) {
        Register(kMailto, "", other);
        EXPECT_FALSE(isDefault()) << other;
    }
    Register(kMailto, "", "c:\\EUDORA 7\\eudora~1.exe /m %1");
    EXPECT_TRUE(isDefault());
}

}  // namespace
