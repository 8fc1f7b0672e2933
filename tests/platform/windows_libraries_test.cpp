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

// The letters of the test library in the system code page; "?" for what it has not.
std::string Expected(const wchar_t* text) {
    std::string result;
    for (; *text != L'\0'; ++text) {
        if (IS_LOW_SURROGATE(*text)) continue;
        char bytes[8];
        BOOL isLost = IS_HIGH_SURROGATE(*text);
        const int count = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text, 1, bytes,
                                              sizeof bytes, nullptr, isLost ? nullptr : &isLost);
        result += isLost ? "?" : std::string(bytes, static_cast<std::size_t>(count));
    }
    return result;
}

}  // namespace

TEST(WindowsLibraries, ReadStringsOfALibraryForAnotherMachine) {
    struct Case {
        unsigned id;
        std::size_t limit;
        std::string text;
    };
    const Case cases[] = {
        {1, 1023, "plain"},
        {1, 3, "pla"},
        {1, 0, ""},
        {16, 1023, Expected(L"Nachname ge\u00E4ndert: M\u00FCller")},
        {17, 1023, Expected(L"\u65E5\u672C\U0001F600x")},
        {6000, 1023, "far away"},
        {0, 1023, ""},
        {2, 1023, ""},
        {15, 1023, ""},
        {5999, 1023, ""},
        {0x10001, 1023, ""},  // not string 1, though it has the same low word
        {0xFFFFFFFF, 1023, ""},
    };
    for (const auto& path : {std::string(kStrings), BesideProgram(kStrings)}) {
        auto resources = Libraries().LoadResources(path);
        ASSERT_TRUE(resources) << resources.Error().Message();
        for (const Case& c : cases) {
            SCOPED_TRACE(path + " " + std::to_string(c.id) + " " + std::to_string(c.limit));
            EXPECT_EQ((*resources)->Text(c.id, c.limit), c.text);
        }
    }
}

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
