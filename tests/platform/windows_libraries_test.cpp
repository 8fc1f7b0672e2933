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
    ASSERT_GT(strings.size(), 0x200u);
    WriteDisk(folder / "empty.dll", "");
    WriteDisk(folder / "text.dll", "This is no library, but longer than a few bytes.");
    WriteDisk(folder / "header.dll", strings.substr(0, 0x40));
    for (const char* name : {"empty.dll", "text.dll", "header.dll"}) {
        SCOPED_TRACE(name);
        auto resources = Libraries().LoadResources(folder / name);
        ASSERT_FALSE(resources);
        EXPECT_EQ(resources.Error().code, ErrorCode::kCorrupt) << resources.Error().Message();
        EXPECT_FALSE(Libraries().Load(folder / name));
    }
    for (const auto& path : {folder / "none.dll", std::string("kv_no_such_library.dll")}) {
        SCOPED_TRACE(path);
        auto resources = Libraries().LoadResources(path);
        ASSERT_FALSE(resources);
        EXPECT_EQ(resources.Error().code, ErrorCode::kNotFound) << resources.Error().Message();
        auto library = Libraries().Load(path);
        ASSERT_FALSE(library);
        EXPECT_EQ(library.Error().code, ErrorCode::kNotFound) << library.Error().Message();
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
