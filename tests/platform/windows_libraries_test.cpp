#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/os/system.h"
#include "platform/windows/windows_api.h"
#include "tests/platform/temp_folder.h"

namespace test {

namespace {

using platform::ErrorCode;

platform::Libraries& Libraries() {
    return platform::NativeSystem().libraries;
}

// A resource library for 32-bit machines, which lies beside the test program.
constexpr char kStrings[] = "kv_test_strings.dll";

std::string BesideProgram(const char* name) {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, sizeof path);
    return (std::filesystem::path(path).parent_path() / name).string();
}

}  // namespace

TEST(WindowsLibraries, RefuseWhatIsNoLibrary) {
    const TempFolder folder;
    const std::string strings = ReadDisk(BesideProgram(kStrings));
    EXPECT_TRUE(Libraries().LoadResources(BesideProgram(kStrings)));
    WriteDisk(folder / "empty.dll", "");
    WriteDisk(folder / "text.dll", "This is no library, but longer than a few bytes.");
    WriteDisk(folder / "header.dll", strings.substr(0, 0x40));
    for (const auto& [path, code] : {std::pair{folder / "empty.dll", ErrorCode::kCorrupt},
                                     {folder / "text.dll", ErrorCode::kCorrupt},
                                     {folder / "header.dll", ErrorCode::kCorrupt},
                                     {folder / "none.dll", ErrorCode::kNotFound},
                                     {"kv_no_such_library.dll", ErrorCode::kNotFound}}) {
        SCOPED_TRACE(path);
        const auto resources = Libraries().LoadResources(path);
        ASSERT_FALSE(resources);
        EXPECT_EQ(resources.Error().code, code) << resources.Error().Message();
        const auto library = Libraries().Load(path);
        ASSERT_FALSE(library);
        EXPECT_EQ(library.Error().code == ErrorCode::kNotFound, code == ErrorCode::kNotFound);
    }
}

TEST(WindowsLibraries, FindExports) {
    auto library = Libraries().Load("kernel32.dll");
    ASSERT_TRUE(library) << library.Error().Message();
    using ProcessNumber = DWORD(WINAPI*)();
    auto* const number = reinterpret_cast<ProcessNumber>((*library)->Symbol("GetCurrentProcessId"));
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(number(), GetCurrentProcessId());
    EXPECT_EQ((*library)->Symbol("NoSuchExport"), nullptr);
}

}  // namespace test
