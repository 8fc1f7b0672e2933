#include "platform/posix/native_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "platform/os/system.h"
#include "platform/posix/character_case.h"
#include "platform/posix/claimed_file.h"
#include "platform/posix/placement.h"

namespace platform::posix {

namespace {

class NativeFile : public File {
  public:
    NativeFile(std::string_view path, OpenMode mode) : m_path(path), m_mode(mode) {}

    void Take(FileHandle handle) { m_handle = std::move(handle); }

    Result<std::size_t> Read(std::span<char> buffer) override {
        return MoveBytes(buffer.size(), m_path, [&](std::size_t done, std::size_t left) {
            return read(m_handle.Get(), buffer.data() + done, left);
        });
    }

    Result<std::size_t> ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        return MoveBytes(buffer.size(), m_path, [&](std::size_t done, std::size_t left) {
            return pread(m_handle.Get(), buffer.data() + done, left,
                         static_cast<off_t>(offset + done));
        });
    }

    Status Write(std::string_view bytes) override {
        if (m_mode == OpenMode::kRead) return FromErrno(EACCES, m_path);
        const auto written =
            MoveBytes(bytes.size(), m_path, [&](std::size_t done, std::size_t left) {
                return write(m_handle.Get(), bytes.data() + done, left);
            });
        if (!written) return written.Error();
        return *written == bytes.size() ? Status() : FromErrno(ENOSPC, m_path);
    }

    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
        const int whence = from == SeekFrom::kBegin     ? SEEK_SET
                           : from == SeekFrom::kCurrent ? SEEK_CUR
                                                        : SEEK_END;
        const auto position = lseek(m_handle.Get(), offset, whence);
        if (position < 0) return FromErrno(errno, m_path);
        return static_cast<std::uint64_t>(position);
    }

    Result<std::uint64_t> Size() override {
        struct stat info;
        if (fstat(m_handle.Get(), &info) != 0) return FromErrno(errno, m_path);
        return static_cast<std::uint64_t>(info.st_size);
    }

    Status Truncate(std::uint64_t size) override {
        if (m_mode == OpenMode::kRead) return FromErrno(EACCES, m_path);
        return Checked(ftruncate(m_handle.Get(), static_cast<off_t>(size)), m_path);
    }

    Status Flush() override { return Checked(fsync(m_handle.Get()), m_path); }

    Status Close() override {
        const int result = close(m_handle.Release());
        return Checked(errno == EINTR ? 0 : result, m_path);
    }

  private:
    FileHandle m_handle;
    std::string m_path;
    OpenMode m_mode;
};

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

bool IsFolder(DIR* folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_DIR;
    struct stat info;
    return fstatat(dirfd(folder), entry.d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
}

std::string WithSeparator(std::string_view folder) {
    std::string path(folder);
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

// The machine's file system under UTF-8 paths. Names that are no UTF-8 are listed as they are.
// Nobody deletes, moves or replaces a file that a program of ours has open.
class NativePosixFiles : public Files {
  public:
    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override {
        return OpenNativeFile(std::string(path), path, mode, share);
    }

    Result<FileInfo> Stat(std::string_view path) override {
        const std::string name(path);
        struct stat info;
        if (stat(name.c_str(), &info) != 0) return FromErrno(errno, path);
        FileInfo result;
        result.isFolder = S_ISDIR(info.st_mode);
        result.size = result.isFolder ? 0 : static_cast<std::uint64_t>(info.st_size);
        result.modified = std::chrono::system_clock::time_point(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(
                std::chrono::seconds(info.st_mtim.tv_sec) +
                std::chrono::nanoseconds(info.st_mtim.tv_nsec)));
        result.copySize = result.isFolder ? 0 : static_cast<std::uint64_t>(info.st_blocks) * 512;
        result.isReadOnly =
            (info.st_mode & 0222) == 0 || faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0;
        return result;
    }

    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override {
        const std::unique_ptr<DIR, FolderCloser> open(opendir(std::string(folder).c_str()));
        if (!open) return FromErrno(errno, folder);
        std::vector<FolderEntry> entries;
        for (;;) {
            errno = 0;
            const dirent* entry = readdir(open.get());
            if (entry == nullptr) break;
            const std::string_view name = entry->d_name;
            if (name == "." || name == ".." || !MatchesPattern(name, pattern)) continue;
            entries.push_back({std::string(name), IsFolder(open.get(), *entry)});
        }
        if (errno != 0) return FromErrno(errno, folder);
        return entries;
    }

    Status Delete(std::string_view path) override {
        const std::string name(path);
        FileHandle claim;
        if (auto status = ClaimForRemoval(name, claim); !status) return status;
        return Checked(unlink(name.c_str()), path);
    }

    Status Copy(std::string_view from, std::string_view to) override {
        return CopyFile(std::string(from), std::string(to));
    }
    Status Move(std::string_view from, std::string_view to) override {
        return MoveFile(std::string(from), std::string(to));
    }
    Status MoveLazily(std::string_view from, std::string_view to) override {
        return RenameFile(std::string(from), std::string(to));
    }
    Status Replace(std::string_view from, std::string_view to) override {
        return ReplaceFile(std::string(from), std::string(to));
    }

    Status Settle(std::string_view folder) override {
        const FileHandle handle(
            open(std::string(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return Checked(handle ? syncfs(handle.Get()) : -1, folder);
    }

    Status CreateFolder(std::string_view path) override {
        return Checked(mkdir(std::string(path).c_str(), NewMode(0777)), path);
    }
    Status CreatePrivateFolder(std::string_view path) override {
        return Checked(mkdir(std::string(path).c_str(), 0700), path);
    }
    Status RemoveFolder(std::string_view path) override {
        return Checked(rmdir(std::string(path).c_str()), path);
    }

    Result<std::string> RealPath(std::string_view path) override {
        char buffer[PATH_MAX];
        if (realpath(std::string(path).c_str(), buffer) == nullptr) return FromErrno(errno, path);
        return std::string(buffer);
    }

    Result<std::uint64_t> FreeSpace(std::string_view folder) override {
        struct statvfs info;
        if (statvfs(std::string(folder).c_str(), &info) != 0) return FromErrno(errno, folder);
        return std::uint64_t{info.f_bavail} * info.f_frsize;
    }

    bool IsFree(std::string_view path) override {
        struct stat info;
        return lstat(std::string(path).c_str(), &info) != 0 &&
               (errno == ENOENT || errno == ENOTDIR);
    }

    Result<std::string> TempFolder() override {
        const char* folder = std::getenv("TMPDIR");
        return WithSeparator(folder != nullptr && folder[0] != '\0' ? folder : "/tmp");
    }

    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override {
        return CreateNumberedFile(*this, WithSeparator(folder) + std::string(prefix.substr(0, 3)));
    }

    char Separator() const override { return '/'; }
};

}  // namespace

// Memory comes first: a file that was made must not stay behind for want of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share) {
    auto file = std::make_unique<NativeFile>(name, mode);
    auto handle = OpenClaimed(path, mode, share);
    if (!handle) return handle.Error();
    file->Take(*std::move(handle));
    return std::unique_ptr<File>(std::move(file));
}

Result<std::string> CreateNumberedFile(Files& files, const std::string& base) {
    static std::atomic<unsigned> next(
        static_cast<unsigned>(getpid()) * 257u +
        static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count() >> 20));
    constexpr int kNumbers = 0x10000;
    for (int i = 0; i < kNumbers; ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "%04X.tmp", next++ & 0xFFFFu);
        std::string path = base + number;
        auto file = files.Open(path, OpenMode::kCreateNew, Share::kNone);
        if (file) return path;
        if (file.Error().code != ErrorCode::kAlreadyExists) return file.Error();
    }
    return Failure{ErrorCode::kAlreadyExists, base};
}

}  // namespace platform::posix

namespace platform {

Files& NativeFiles() {
    static posix::NativePosixFiles files;
    return files;
}

}  // namespace platform
