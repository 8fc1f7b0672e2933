#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/os/system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/temp_folder.h"

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
    EXPECT_EQ(CodeOf(NativeFiles().Open(path, OpenMode::kRead, Share::kRead)),
              ErrorCode::kSharingViolation);
    EXPECT_EQ(CodeOf(platform::WriteWhole(NativeFiles(), path, "x")), ErrorCode::kSharingViolation);
    EXPECT_EQ(ReadDisk(path), "content");
    holder.Kill();
    EXPECT_TRUE(platform::WriteWhole(NativeFiles(), path, "x"));
    EXPECT_EQ(ReadDisk(path), "x");
}

TEST(PosixFiles, ReplaceKeepsPermissionsAndLinks) {
    const TempFolder folder;
    std::filesystem::create_directory(folder / "real");
    const std::string real = folder / "real/names.txt", link = folder / "names.txt";
    WriteDisk(real, "old");
    std::filesystem::create_symlink("real/names.txt", link);
    for (const mode_t mode : {0600u, 0664u, 0200u | 0444u}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(chmod(real.c_str(), mode), 0);
        const bool isOwnerChanged = geteuid() == 0 && chown(real.c_str(), 12, 34) == 0;
        ASSERT_TRUE(platform::WriteWhole(NativeFiles(), link, "new"));
        struct stat info;
        ASSERT_EQ(lstat(real.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, mode);
        if (isOwnerChanged) {
            EXPECT_EQ(info.st_uid, 12u);
            EXPECT_EQ(info.st_gid, 34u);
        }
    }
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadDisk(real), "new");
}

TEST(PosixFiles, NothingWaitsForAPipe) {
    const TempFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(CodeOf(NativeFiles().Open(folder / "pipe", OpenMode::kRead, Share::kNone)),
              ErrorCode::kAccessDenied);
}

TEST(PosixFiles, CopyKeepsTimeAndPermissions) {
    const TempFolder folder;
    WriteDisk(folder / "a", "x");
    const auto time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(50);
    std::filesystem::last_write_time(folder / "a", time);
    ASSERT_EQ(chmod((folder / "a").c_str(), 0640), 0);
    ASSERT_TRUE(NativeFiles().Copy(folder / "a", folder / "b"));
    EXPECT_EQ(std::filesystem::last_write_time(folder / "b"), time);
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(folder / "b").permissions()), 0640u);
}

}  // namespace test
