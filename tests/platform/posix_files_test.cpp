#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/os/safe_write.h"
#include "platform/posix/system_call.h"
#include "platform/prefix/prefix_system.h"
#include "tests/platform/files_contract.h"

namespace test {

using platform::ErrorCode;
using platform::NativeFiles;
using platform::OpenMode;
using platform::Share;

TEST(PosixFiles, SharingHoldsBetweenProcessesAndEndsWithThem) {
    const TempFolder folder;
    const std::string path = folder / "f";
    WriteDisk(path, "content");
    auto& files = NativeFiles();
    auto ours = files.Open(path, OpenMode::kReadWrite, Share::kRead);
    const auto openBesideUs = [&] {
        const auto refused = files.Open(path, OpenMode::kRead, Share::kRead);
        const bool hasCause = !refused && refused.Error().systemError != 0;  // for the log
        const bool isKept = files.Open(path, OpenMode::kRead, Share::kReadWrite) && hasCause &&
                            CodeOf(refused) == ErrorCode::kSharingViolation &&
                            CodeOf(platform::WriteWhole(files, path, "x")) == CodeOf(refused);
        _exit(isKept ? 0 : 1);
    };
    EXPECT_EXIT(openBesideUs(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(ReadDisk(path), "content");
    ASSERT_TRUE((*ours)->Close());
    const auto dieWithIt = [&] {
        const auto theirs = files.Open(path, OpenMode::kReadWrite, Share::kNone);
        raise(theirs ? SIGKILL : SIGABRT);
    };
    EXPECT_EXIT(dieWithIt(), ::testing::KilledBySignal(SIGKILL), "");
    EXPECT_TRUE(platform::WriteWhole(files, path, "x"));
    // Another user's lock on all of the file, as anybody can hold it who may only read it.
    const platform::posix::FileHandle reader(open(path.c_str(), O_RDONLY));
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    ASSERT_EQ(fcntl(reader.Get(), F_OFD_SETLK, &lock), 0);
    EXPECT_TRUE(files.Open(path, OpenMode::kReadWrite, Share::kNone));
}

TEST(PosixFiles, PermissionsOfNewAndOldFiles) {
    const TempFolder folder;
    const std::string old = folder / "real/old";
    WriteDisk(old, "x");
    std::filesystem::create_symlink("real/old", folder / "old");
    ASSERT_EQ(chmod(old.c_str(), 0644), 0);
    const bool isOwnerChanged = geteuid() == 0 && chown(old.c_str(), 12, 34) == 0;
    const auto makeThings = [&] {
        umask(0);
        platform::KeepNewFilesPrivate();
        auto& files = NativeFiles();
        const bool isMade = files.CreateFolder(folder / "folder") &&
                            files.Copy(folder / "old", folder / "copy") &&
                            platform::WriteWhole(files, folder / "new", "x") &&
                            platform::WriteWhole(files, folder / "old", "y");
        _exit(isMade ? 0 : 1);
    };
    EXPECT_EXIT(makeThings(), ::testing::ExitedWithCode(0), "");
    struct stat info = {};
    for (const auto& [name, mode] :
         {std::pair{"folder", 0700u}, {"copy", 0600u}, {"new", 0600u}, {"real/old", 0644u}}) {
        EXPECT_EQ(lstat((folder / name).c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, mode) << name;
    }
    EXPECT_TRUE(!isOwnerChanged || (info.st_uid == 12 && info.st_gid == 34));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "old"));
    EXPECT_EQ(ReadDisk(old), "y");
}

// Somebody else made something of a name before we did. Nothing waits, nothing is written, made or
// deleted where a link leads, and a file that is made afresh is ours.
TEST(PosixFiles, WhatIsPlantedAtANameHarmsNobody) {
    const PrefixFolder prefix;
    platform::prefix::PrefixSystem system(prefix.Path());
    const auto root = prefix.DriveC();
    WriteDisk(root / "kept/inside", "x");
    WriteDisk(root / "own", "own");
    using Row = std::pair<std::string, std::optional<ErrorCode>>;  // where a link leads; a pipe
    for (const auto& [target, opened] :
         {Row{root / "new", ErrorCode::kNotFound}, Row{root / "victim", std::nullopt},
          Row{root / "kept", ErrorCode::kNotRegular}, Row{"/dev/null", ErrorCode::kNotRegular},
          Row{"", ErrorCode::kNotRegular}}) {
        for (const bool isPrefix : {true, false}) {
            SCOPED_TRACE(target);
            auto& files = isPrefix ? system.system.files : NativeFiles();
            const std::string folder = isPrefix ? "C:\\" : root / "", at = folder + "name";
            std::filesystem::remove(root / "name");
            WriteDisk(root / "victim", "victim");
            std::filesystem::permissions(root / "victim", std::filesystem::perms::owner_read);
            ASSERT_EQ(target.empty() ? mkfifo((root / "name").c_str(), 0600)
                                     : symlink(target.c_str(), (root / "name").c_str()),
                      0);
            EXPECT_FALSE(files.IsFree(at));
            EXPECT_EQ(CodeOf(files.Open(at, OpenMode::kRead, Share::kNone)), opened);
            EXPECT_EQ(CodeOf(files.Open(at, OpenMode::kReadWriteOrCreate, Share::kNone)),
                      opened ? ErrorCode::kNotRegular : ErrorCode::kAccessDenied);
            for (const auto code :
                 {CodeOf(files.Open(at, OpenMode::kCreateNew, Share::kNone)),
                  CodeOf(files.Copy(folder + "own", at)), CodeOf(files.Move(folder + "own", at)),
                  CodeOf(files.CreateFolder(at))}) {
                EXPECT_EQ(code, ErrorCode::kAlreadyExists);
            }
            platform::SafeWrite write(files, folder + "made", at);
            EXPECT_TRUE(write.Begin() && is_regular_file(symlink_status(root / "name")));
            EXPECT_EQ(
                ReadDisk(root / "victim") + ReadDisk(root / "own") + ReadDisk(root / "kept/inside"),
                "victimownx");
            EXPECT_FALSE(std::filesystem::exists(root / "new"));
        }
    }
}

TEST(PosixFiles, ACopyThatFailsNamesTheFileAndLeavesNothing) {
    const TempFolder folder;
    WriteDisk(folder / "large", std::string(5000, 'x'));
    EXPECT_TRUE(NativeFiles().IsFree(folder / "large/x"));
    std::filesystem::create_directories(folder / "folder/inside");
    // Files longer than this cannot be written.
    rlimit old = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {4096, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    for (const auto& [from, named] : {std::pair("large", "copy"), std::pair("folder", "folder")}) {
        const auto copied = NativeFiles().Copy(folder / from, folder / "copy");
        EXPECT_EQ(copied ? "copied" : copied.Error().context, folder / named);
        EXPECT_TRUE(NativeFiles().IsFree(folder / "copy")) << from;
    }
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, oldHandler);
}

TEST(PosixFiles, CopyKeepsTimeAndPermissionsAndHoles) {
    const TempFolder folder;
    const std::string a = folder / "a", b = folder / "b";
    WriteDisk(a, "x");
    std::filesystem::resize_file(a, 1 << 30);
    std::ofstream(a, std::ios::app) << "end";
    EXPECT_LT(NativeFiles().Stat(a)->copySize, 1u << 20);
    EXPECT_GT(NativeFiles().FreeSpace(folder / "").ValueOr(0), 1u << 20);
    EXPECT_FALSE(NativeFiles().FreeSpace(folder / "none"));
    const auto time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(50);
    std::filesystem::last_write_time(a, time);
    ASSERT_EQ(chmod(a.c_str(), 0640), 0);
    ASSERT_TRUE(NativeFiles().Copy(a, b));
    EXPECT_EQ(std::filesystem::last_write_time(b), time);
    struct stat info;
    ASSERT_EQ(stat(b.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_size, (1 << 30) + 3);
    EXPECT_LT(info.st_blocks, 1000) << "holes were filled";
    std::string end(4, '\0');
    EXPECT_TRUE(std::ifstream(b).seekg((1 << 30) - 1).read(end.data(), 4));
    EXPECT_EQ(end, std::string("\0end", 4));
}

}  // namespace test
