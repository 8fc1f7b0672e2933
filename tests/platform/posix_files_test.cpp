#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "platform/posix/system_call.h"
#include "platform/prefix/prefix_system.h"
#include "tests/platform/files_contract.h"

namespace test {

using platform::ErrorCode;
using platform::NativeFiles;
using platform::OpenMode;
using platform::Share;

namespace {

// A child process that holds a file open until it is killed.
class Holder {
  public:
    Holder(const std::string& path, OpenMode mode, Share share) {
        int ready[2];
        if (pipe(ready) != 0) abort();
        m_child = fork();
        if (m_child == 0) {
            const auto file = NativeFiles().Open(path, mode, share);
            const char word = file ? 'y' : 'n';
            if (write(ready[1], &word, 1) == 1) pause();
            _exit(0);
        }
        char word = 0;
        holds = read(ready[0], &word, 1) == 1 && word == 'y';
        close(ready[0]);
        close(ready[1]);
    }
    ~Holder() { Kill(); }
    void Kill() {
        if (m_child <= 0) return;
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = 0;
    }

    bool holds = false;

  private:
    pid_t m_child;
};

}  // namespace

TEST(PosixFiles, SharingHoldsBetweenProcessesAndEndsWithThem) {
    const TempFolder folder;
    const std::string path = folder / "f";
    WriteDisk(path, "content");
    Holder holder(path, OpenMode::kReadWrite, Share::kRead);
    ASSERT_TRUE(holder.holds);
    EXPECT_TRUE(NativeFiles().Open(path, OpenMode::kRead, Share::kReadWrite));
    const auto refused = NativeFiles().Open(path, OpenMode::kRead, Share::kRead);
    EXPECT_EQ(CodeOf(refused), ErrorCode::kSharingViolation);
    EXPECT_NE(refused.Error().systemError, 0) << "no cause for the log";
    EXPECT_EQ(CodeOf(platform::WriteWhole(NativeFiles(), path, "x")), ErrorCode::kSharingViolation);
    EXPECT_EQ(ReadDisk(path), "content");
    holder.Kill();
    EXPECT_TRUE(platform::WriteWhole(NativeFiles(), path, "x"));
    EXPECT_EQ(ReadDisk(path), "x");
}

// Another user's lock on all of the file, as anybody can hold it who may open it for reading.
TEST(PosixFiles, WhoMayMerelyReadKeepsNobodyOut) {
    const TempFolder folder;
    const std::string path = folder / "f";
    WriteDisk(path, "content");
    const platform::posix::FileHandle reader(open(path.c_str(), O_RDONLY));
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    ASSERT_EQ(fcntl(reader.Get(), F_OFD_SETLK, &lock), 0);
    EXPECT_TRUE(NativeFiles().Open(path, OpenMode::kReadWrite, Share::kNone));
    EXPECT_TRUE(platform::WriteWhole(NativeFiles(), path, "x"));
}

TEST(PosixFiles, PermissionsOfNewAndOldFiles) {
    const TempFolder folder;
    std::filesystem::create_directory(folder / "real");
    WriteDisk(folder / "real/old", "x");
    std::filesystem::create_symlink("real/old", folder / "old");
    ASSERT_EQ(chmod((folder / "old").c_str(), 0644), 0);
    const bool isOwnerChanged = geteuid() == 0 && chown((folder / "old").c_str(), 12, 34) == 0;
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
    EXPECT_EQ(ReadDisk(folder / "real/old"), "y");
}

// Somebody else made something of a name before we did. Nothing waits, nothing is written, made or
// deleted where a link leads, and a file that is made afresh is ours.
TEST(PosixFiles, WhatIsPlantedAtANameHarmsNobody) {
    const PrefixFolder prefix;
    platform::prefix::PrefixSystem system(prefix.Path());
    const auto root = prefix.DriveC();
    const std::string own = root / "own", victim = root / "victim", kept = root / "kept";
    std::filesystem::create_directory(kept);
    WriteDisk(root / "kept/inside", "x");
    WriteDisk(own, "own");
    const auto link = [](std::string to) {
        return [to](const char* at) { return symlink(to.c_str(), at); };
    };
    using Plant = std::function<int(const char*)>;
    const std::pair<Plant, std::optional<ErrorCode>> planted[] = {
        {link(root / "new"), ErrorCode::kNotFound},
        {link(victim), {}},
        {link(kept), ErrorCode::kNotRegular},
        {link("/dev/null"), ErrorCode::kNotRegular},
        {[](const char* at) { return mkfifo(at, 0600); }, ErrorCode::kNotRegular}};
    for (auto* files : {&NativeFiles(), &system.system.files}) {
        const bool isPrefix = files != &NativeFiles();
        const std::string at = isPrefix ? "C:\\name" : root / "name";
        const std::string from = isPrefix ? "C:\\own" : own;
        for (const auto& [plant, opened] : planted) {
            SCOPED_TRACE(::testing::Message() << isPrefix << " " << opened.has_value());
            std::filesystem::remove(root / "name");
            WriteDisk(victim, "victim");
            ASSERT_EQ(chmod(victim.c_str(), 0444), 0);
            ASSERT_EQ(plant((root / "name").c_str()), 0);
            EXPECT_FALSE(files->IsFree(at));
            EXPECT_EQ(CodeOf(files->Open(at, OpenMode::kRead, Share::kNone)), opened);
            EXPECT_EQ(CodeOf(files->Open(at, OpenMode::kReadWriteOrCreate, Share::kNone)),
                      opened ? ErrorCode::kNotRegular : ErrorCode::kAccessDenied);
            for (const auto code : {CodeOf(files->Open(at, OpenMode::kCreateNew, Share::kNone)),
                                    CodeOf(files->Copy(from, at)), CodeOf(files->Move(from, at)),
                                    CodeOf(files->CreateFolder(at))}) {
                EXPECT_EQ(code, ErrorCode::kAlreadyExists);
            }
            platform::SafeWrite write(*files, isPrefix ? "C:\\made" : root / "made", at);
            EXPECT_TRUE(write.Begin());
            EXPECT_TRUE(
                std::filesystem::is_regular_file(std::filesystem::symlink_status(root / "name")));
            EXPECT_EQ(ReadDisk(victim) + ReadDisk(own) + ReadDisk(root / "kept/inside"),
                      "victimownx");
            EXPECT_FALSE(std::filesystem::exists(root / "new"));
        }
    }
}

TEST(PosixFiles, ACopyThatFailsNamesTheFileAndLeavesNothing) {
    const TempFolder folder;
    WriteDisk(folder / "large", std::string(5000, 'x'));
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
    WriteDisk(folder / "a", "x");
    std::filesystem::resize_file(folder / "a", 1 << 30);
    std::ofstream(folder / "a", std::ios::app) << "end";
    EXPECT_LT(NativeFiles().Stat(folder / "a")->copySize, 1u << 20);
    EXPECT_GT(NativeFiles().FreeSpace(folder / "").ValueOr(0), 1u << 20);
    EXPECT_FALSE(NativeFiles().FreeSpace(folder / "none"));
    const auto time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(50);
    std::filesystem::last_write_time(folder / "a", time);
    ASSERT_EQ(chmod((folder / "a").c_str(), 0640), 0);
    ASSERT_TRUE(NativeFiles().Copy(folder / "a", folder / "b"));
    EXPECT_EQ(std::filesystem::last_write_time(folder / "b"), time);
    struct stat info;
    ASSERT_EQ(stat((folder / "b").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_size, (1 << 30) + 3);
    EXPECT_LT(info.st_blocks, 1000) << "holes were filled";
    std::string end(4, '\0');
    auto copy = NativeFiles().Open(folder / "b", OpenMode::kRead, Share::kNone);
    EXPECT_EQ((*copy)->ReadAt((1 << 30) - 1, end).ValueOr(0), 4u);
    EXPECT_EQ(end, std::string("\0end", 4));
}

}  // namespace test
