#include "platform/prefix/path_mapper.h"

#include <gmock/gmock.h>

#include "platform/os/safe_write.h"
#include "platform/prefix/prefix_system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/prefix_folder.h"

namespace test {

using platform::ErrorCode;
using platform::prefix::PathMapper;
using ::testing::UnorderedElementsAre;

TEST(PathMapper, LeadsAsWineDoes) {
    const PrefixFolder prefix;
    const TempFolder other;
    std::filesystem::create_directory_symlink(other.Path(), prefix.Path() + "/dosdevices/e:");
    WriteDisk(prefix.DriveC() / "Program Files/Qualcomm/Eudora/Eudora.exe", "");
    WriteDisk(prefix.DriveC() / "twice/A.txt", "");
    WriteDisk(prefix.DriveC() / "twice/a.txt", "");
    WriteDisk(prefix.DriveC() / "Stra\u00DFe \u00C4/\u00C9t\u00E9.txt", "");
    WriteDisk(prefix.DriveC() / "\u8868.txt", "");  // Shift-JIS 95 5C: its trail byte is '\'
    WriteDisk(prefix.DriveC() / "\u8868/in.txt", "");
    WriteDisk(other.Path() / "mail/In.mbx", "");
    // What is expected lies below drive_c, or below the other drive after "E:".
    struct Case {
        std::string_view path, expected;
        bool exists = true;
        unsigned codePage = 1252;
    };
    const Case cases[] = {
        {"C:\\", ""},
        {"c:\\PROGRAM FILES\\qualcomm\\eudora\\EUDORA.EXE",
         "Program Files/Qualcomm/Eudora/Eudora.exe"},
        {"C:/Program Files/Qualcomm\\\\Eudora\\", "Program Files/Qualcomm/Eudora"},
        {"\\program files", "Program Files"},
        {"C:\\..\\..\\program files", "Program Files"},
        {"C:\\nowhere\\..\\program files", "Program Files"},
        {"C:\\Program Files\\New.txt", "Program Files/New.txt", false},
        {"C:\\program files\\new. . ", "Program Files/new", false},
        {"C:\\twice\\a.txt", "twice/a.txt"},
        {"C:\\STRA\xDF"
         "E \xE4\\\xC9T\xC9.TXT",
         "Stra\u00DFe \u00C4/\u00C9t\u00E9.txt"},
        {"C:\\\x95\\.TXT", "\u8868.txt", true, 932},
        {"C:\\\x95\\\\IN.txt", "\u8868/in.txt", true, 932},
        {"e:\\MAIL\\in.MBX", "E:mail/In.mbx"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const auto mapped = PathMapper(prefix.Path(), c.codePage).Map(c.path);
        ASSERT_TRUE(mapped) << mapped.Error().Message();
        EXPECT_EQ(mapped->exists, c.exists);
        const bool isOther = c.expected.starts_with("E:");
        const auto expected =
            isOther ? other.Path() / c.expected.substr(2) : prefix.DriveC() / c.expected;
        // Equal in letters too, also where the file system under test ignores case.
        EXPECT_EQ(std::filesystem::weakly_canonical(mapped->path).string(),
                  std::filesystem::weakly_canonical(expected).string());
    }
    for (const auto& [path, code] : {std::pair{std::string_view(), ErrorCode::kNotFound},
                                     {"Q:\\x", ErrorCode::kNotFound},
                                     {"1:\\x", ErrorCode::kInvalidArgument},
                                     {"C:\\nowhere\\x", ErrorCode::kNotFound},
                                     {"C:\\twice\\a.txt\\x", ErrorCode::kNotFound},
                                     {"\\\\server\\share\\x", ErrorCode::kNotFound},
                                     {"C:\\a?b", ErrorCode::kInvalidArgument},
                                     {std::string_view("C:\\a\0b", 6), ErrorCode::kInvalidArgument},
                                     {"C:\\twice\\...\\", ErrorCode::kInvalidArgument}}) {
        EXPECT_EQ(CodeOf(PathMapper(prefix.Path(), 1252).Map(path)), code) << path;
    }
}

// Windows path, native path below drive C, below another folder that drive E leads to, or anywhere.
TEST(PathMapper, GoesBothWays) {
    const PrefixFolder prefix;
    const TempFolder other;
    const std::string c = std::filesystem::canonical(prefix.DriveC()),
                      e = std::filesystem::canonical(other.Path());
    std::filesystem::create_directory_symlink(other.Path(), prefix.Path() + "/dosdevices/e:");
    std::filesystem::create_directory_symlink(other.Path(), prefix.DriveC() / "link");
    WriteDisk(prefix.DriveC() / "Mail/\u00C4.mbx", "");
    const PathMapper mapper(prefix.Path(), 1252);
    for (const auto& [windows, native] : {std::pair{"C:\\", c},
                                          {"C:\\Mail\\\xC4.mbx", c + "/Mail/\u00C4.mbx"},
                                          {"C:\\no\\such\\file", c + "/no/such/file"},
                                          {"E:\\new", e + "/new"}}) {
        EXPECT_EQ(mapper.NativePath(windows), native);
        EXPECT_EQ(mapper.WindowsPath(native), windows);
    }
    EXPECT_EQ(mapper.NativePath("c:/MAIL/\xE4.MBX"), c + "/Mail/\u00C4.mbx");
    EXPECT_EQ(mapper.NativePath("C:\\link\\x"), e + "/x");
    EXPECT_EQ(mapper.WindowsPath(c + "/link/x"), "E:\\x");
    for (const char* none : {"", "x", "C:", "C:x", "Q:\\x", "\\\\server\\x"}) {
        EXPECT_FALSE(mapper.NativePath(none)) << none;
    }
    for (const char* none : {"/", "/nowhere/x"}) EXPECT_FALSE(mapper.WindowsPath(none)) << none;
    EXPECT_FALSE(mapper.WindowsPath(c + "/\u65E5")) << "not in the code page";
    // The shorter of two ways, and of two as short ones the first drive.
    std::filesystem::create_directory_symlink(prefix.DriveC() / "Mail",
                                              prefix.Path() + "/dosdevices/m:");
    std::filesystem::create_directory_symlink(other.Path(), prefix.Path() + "/dosdevices/d:");
    EXPECT_EQ(mapper.WindowsPath(c + "/Mail/x"), "M:\\x");
    EXPECT_EQ(mapper.WindowsPath(e + "/x"), "D:\\x");
}

TEST(PrefixFiles, NamesCrossInTheCodePage) {
    const PrefixFolder prefix;
    prefix.PutRegistry(
        "WINE REGISTRY Version 2\n\n#arch=win32\n\n"
        "[System\\\\CurrentControlSet\\\\Control\\\\Nls\\\\CodePage] 1\n\"ACP\"=\"932\"\n");
    const platform::prefix::PrefixSystem owner(prefix.Path());
    auto& files = owner.system.files;
    EXPECT_EQ(owner.system.codePage, 932u);
    ASSERT_TRUE(platform::WriteWhole(files, "C:\\\x95\\\x8E\xA6.txt", "1"));
    EXPECT_EQ(ReadDisk(prefix.DriveC() / "\u8868\u793A.txt"), "1");
    WriteDisk(prefix.DriveC() / "caf\u00E9", "");
    WriteDisk(prefix.DriveC() / "back\\slash", "");
    auto entries = files.List("C:\\", "*");
    ASSERT_TRUE(entries);
    std::vector<std::string> names;
    for (const auto& entry : *entries) names.push_back(entry.name);
    EXPECT_THAT(names, UnorderedElementsAre("\x95\\\x8E\xA6.txt", "caf?"));
    const auto failure = files.Stat("C:\\none.txt");
    EXPECT_EQ(failure.Error().context, "C:\\none.txt");
}

TEST(PrefixFiles, TemporaryFilesLieInThePrefix) {
    const PrefixFolder prefix;
    const platform::prefix::PrefixSystem owner(prefix.Path());
    auto& files = owner.system.files;
    EXPECT_EQ(*files.TempFolder(), "C:\\windows\\temp\\");
    EXPECT_TRUE(std::filesystem::is_directory(prefix.DriveC() / "windows/temp"));
    WriteDisk(prefix.Path() + "/user.reg", "\n[Environment] 1\n\"TMP\"=\"C:\\\\Users\\\\me\"\n");
    EXPECT_EQ(*files.TempFolder(), "C:\\windows\\temp\\") << "a folder that is not there";
    std::filesystem::create_directories(prefix.DriveC() / "users/me");
    EXPECT_EQ(*files.TempFolder(), "C:\\Users\\me\\");
}

}  // namespace test
