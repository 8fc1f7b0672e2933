#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/os/code_page.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "platform/windows/system_call.h"
#include "platform/windows/windows_api.h"
#include "tests/platform/temp_folder.h"

namespace test {

namespace {

using platform::ErrorCode;
using platform::OpenMode;
using platform::Share;
using platform::windows::Handle;

platform::Files& Native() {
    return platform::NativeFiles();
}
platform::Files& Module() {
    return platform::NativeSystem().files;
}

// Bytes for bytes: the C++ library would convert the name.
std::string In(const TempFolder& folder, const std::string& name) {
    return folder.Path().string() + "\\" + name;
}

// An opening as any other Windows program makes it.
Handle Foreign(const std::string& path, DWORD access, DWORD share) {
    return Handle(CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

}  // namespace

TEST(WindowsFiles, KeepToTheSharingOfOtherPrograms) {
    const TempFolder folder;
    const std::string path = folder / "f";
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    struct Case {
        DWORD access, share;
        OpenMode mode;
        Share ours;
        bool isGranted;
    };
    const Case cases[] = {
        {GENERIC_READ, 0, OpenMode::kRead, Share::kReadWrite, false},
        {GENERIC_READ, FILE_SHARE_READ, OpenMode::kRead, Share::kRead, true},
        {GENERIC_READ, FILE_SHARE_READ, OpenMode::kReadWrite, Share::kReadWrite, false},
        {GENERIC_READ, kAll, OpenMode::kReadWrite, Share::kNone, false},
        {GENERIC_READ, kAll, OpenMode::kReadWrite, Share::kRead, true},
        {GENERIC_WRITE, kAll, OpenMode::kRead, Share::kRead, false},
        {GENERIC_WRITE, kAll, OpenMode::kReadWriteOrCreate, Share::kReadWrite, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.access << " " << c.share << " " << int(c.mode));
        WriteDisk(path, "content");
        {
            const Handle other = Foreign(path, c.access, c.share);
            ASSERT_TRUE(other);
            auto ours = Native().Open(path, c.mode, c.ours);
            EXPECT_EQ(ours.HasValue(), c.isGranted);
            if (!ours) {
                EXPECT_EQ(ours.Error().code, ErrorCode::kSharingViolation);
            }
        }
        EXPECT_EQ(ReadDisk(path), "content");
        // The same the other way round.
        auto ours = Native().Open(path, c.mode, c.ours);
        ASSERT_TRUE(ours);
        EXPECT_EQ(static_cast<bool>(Foreign(path, c.access, c.share)), c.isGranted);
    }
}

TEST(WindowsFiles, ReplaceKeepsAttributesAndLeavesWhatIsInUse) {
    const TempFolder folder;
    const std::string oldPath = folder / "old", newPath = folder / "new";
    struct Case {
        DWORD attributes;
        bool isHeld;
        std::optional<ErrorCode> error;
    };
    const Case cases[] = {
        {FILE_ATTRIBUTE_ARCHIVE, false, {}},
        {FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM, false, {}},
        {FILE_ATTRIBUTE_READONLY, false, ErrorCode::kAccessDenied},
        {FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN, false, ErrorCode::kAccessDenied},
        {FILE_ATTRIBUTE_HIDDEN, true, ErrorCode::kSharingViolation},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.attributes);
        SetFileAttributesA(oldPath.c_str(), FILE_ATTRIBUTE_NORMAL);
        WriteDisk(oldPath, "old content");
        WriteDisk(newPath, "new content");
        ASSERT_TRUE(SetFileAttributesA(oldPath.c_str(), c.attributes));
        const DWORD before = GetFileAttributesA(newPath.c_str());
        const DWORD wanted = GetFileAttributesA(oldPath.c_str());
        Handle holder;
        if (c.isHeld) {
            holder = Foreign(oldPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
            ASSERT_TRUE(holder);
        }
        const auto status = Native().Replace(newPath, oldPath);
        EXPECT_EQ(status ? std::nullopt : std::optional(status.Error().code), c.error);
        holder = Handle();
        EXPECT_EQ(ReadDisk(oldPath), c.error ? "old content" : "new content");
        EXPECT_EQ(GetFileAttributesA(oldPath.c_str()), wanted);
        EXPECT_EQ(GetFileAttributesA(newPath.c_str()), c.error ? before : INVALID_FILE_ATTRIBUTES);
    }
}

// The two file systems are one disk, seen through two encodings. A name that the code page cannot
// carry is listed, and harms nothing; every code page lacks one of these.
TEST(WindowsFiles, NamesInTheTwoEncodingsMeet) {
    for (const std::string name : {"M\u00FCller \u20AC.txt", "\u65E5\u8868.txt", "\u041F.txt"}) {
        const TempFolder folder;
        const std::string root = folder.Path().string();
        bool isLossy = false;
        const auto bytes = platform::FromUtf8(name, GetACP(), &isLossy);
        auto& writer = isLossy ? Native() : Module();
        ASSERT_TRUE(platform::WriteWhole(writer, In(folder, isLossy ? name : bytes), "x"));
        auto content = platform::ReadWhole(Native(), In(folder, name), 10);
        ASSERT_TRUE(content) << content.Error().Message();
        EXPECT_EQ(Native().List(root, "*.TXT")->at(0).name, name);
        const auto listed = Module().List(root, "*.TXT");
        ASSERT_EQ(listed->size(), 1u);
        if (isLossy) continue;
        EXPECT_EQ(listed->at(0).name, bytes);
        const auto shortPath = Module().ShortPath(In(folder, bytes));
        EXPECT_TRUE(shortPath && Module().Exists(*shortPath));
    }
}

TEST(WindowsFiles, NamesThatCannotBeAreNotCutToNamesThatAre) {
    const TempFolder folder;
    WriteDisk(folder / "f", "content");
    for (const auto& path :
         {In(folder, std::string("f\0x", 3)), In(folder, "f\xFF"), In(folder, "f\xC3"),
          In(folder, "a<b"), In(folder, "f|"), std::string(40'000, 'a')}) {
        SCOPED_TRACE(path.substr(0, 100));
        EXPECT_FALSE(Native().Exists(path));
        EXPECT_FALSE(Native().Open(path, OpenMode::kReadWriteOrCreate, Share::kNone));
        EXPECT_FALSE(Native().Delete(path));
        EXPECT_FALSE(Native().Copy(folder / "f", path));
        EXPECT_FALSE(Native().CreateFolder(path));
    }
    EXPECT_EQ(Native().List(folder.Path().string(), "*")->size(), 1u);
    EXPECT_EQ(ReadDisk(folder / "f"), "content");
}

TEST(WindowsFiles, TimesAreThoseOfTheSystem) {
    const TempFolder folder;
    WriteDisk(folder / "f", "x");
    // 2001-02-03 04:05:06.789 UTC.
    const SYSTEMTIME time{2001, 2, 6, 3, 4, 5, 6, 789};
    FILETIME fileTime;
    ASSERT_TRUE(SystemTimeToFileTime(&time, &fileTime));
    const Handle file = Foreign(folder / "f", FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ);
    ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &fileTime));
    using namespace std::chrono;
    const auto expected = sys_days(2001y / February / 3) + 4h + 5min + 6s + 789ms;
    EXPECT_EQ(Native().Stat(folder / "f")->modified,
              time_point_cast<system_clock::duration>(expected));
}

}  // namespace test
