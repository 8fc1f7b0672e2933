#include "platform/posix/native_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>

#include "platform/os/system.h"
#include "platform/posix/posix_error.h"
#include "platform/posix/share_lock.h"

namespace platform::posix {

namespace {

std::atomic<mode_t> thePermissions = 0777;

bool IsLink(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

// Opening alone can wake a device, so a name is looked at before.
bool IsSomethingElse(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode);
}

// The system makes a file where a link leads, unless it is told that the file must be new.
FileHandle OpenOrCreate(const std::string& path, OpenMode mode) {
    constexpr int kCommon = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    if (mode == OpenMode::kRead) return OpenForClaim(path, kCommon);
    if (mode != OpenMode::kCreateNew) {
        FileHandle handle(open(path.c_str(), kCommon | O_RDWR));
        if (handle || errno != ENOENT || mode == OpenMode::kReadWrite) return handle;
    }
    return FileHandle(open(path.c_str(), kCommon | O_RDWR | O_CREAT | O_EXCL, NewMode(0666)));
}

// Between open and claim the file may have been replaced or deleted; a claim on what no longer
// bears the name would keep nobody out.
bool StillNamed(const std::string& path, const struct stat& opened) {
    struct stat named;
    return stat(path.c_str(), &named) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

class NativeFile : public File {
  public:
    NativeFile(std::string path, OpenMode mode) : m_path(std::move(path)), m_mode(mode) {}

    void Take(FileHandle handle) { m_handle = std::move(handle); }

    Result<std::size_t> Read(std::span<char> buffer) override {
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            const auto count = read(m_handle.Get(), buffer.data() + filled, buffer.size() - filled);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return FromErrno(errno, m_path);
            if (count == 0) break;
            filled += static_cast<std::size_t>(count);
        }
        return filled;
    }

    Result<std::size_t> ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            const auto count = pread(m_handle.Get(), buffer.data() + filled, buffer.size() - filled,
                                     static_cast<off_t>(offset + filled));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return FromErrno(errno, m_path);
            if (count == 0) break;
            filled += static_cast<std::size_t>(count);
        }
        return filled;
    }

    Status Write(std::string_view bytes) override {
        if (m_mode == OpenMode::kRead) return FromErrno(EACCES, m_path);
        while (!bytes.empty()) {
            const auto count = write(m_handle.Get(), bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return FromErrno(errno, m_path);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return {};
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
        if (ftruncate(m_handle.Get(), static_cast<off_t>(size)) != 0) {
            return FromErrno(errno, m_path);
        }
        return {};
    }

    Status Flush() override {
        if (fsync(m_handle.Get()) != 0) return FromErrno(errno, m_path);
        return {};
    }

    Status Close() override {
        if (close(m_handle.Release()) != 0 && errno != EINTR) return FromErrno(errno, m_path);
        return {};
    }

  private:
    FileHandle m_handle;
    std::string m_path;
    OpenMode m_mode;
};

}  // namespace

Result<FileHandle> OpenClaimed(const std::string& path, OpenMode mode, Share share) {
    const bool writes = mode != OpenMode::kRead;
    const Failure notRegular{ErrorCode::kNotRegular, path};
    for (;;) {
        if (mode != OpenMode::kCreateNew && IsSomethingElse(path)) return notRegular;
        FileHandle handle = OpenOrCreate(path, mode);
        if (!handle && errno == EEXIST && mode == OpenMode::kReadWriteOrCreate) {
            if (IsLink(path)) return notRegular;
            continue;
        }
        if (!handle) return FromErrno(errno, path);
        struct stat info;
        if (fstat(handle.Get(), &info) != 0) return FromErrno(errno, path);
        if (!S_ISREG(info.st_mode)) return notRegular;
        if (writes && (info.st_mode & 0222) == 0) return FromErrno(EACCES, path);
        const bool isClaimed = ClaimShare(handle.Get(), writes, share);
        if (!StillNamed(path, info)) continue;
        if (!isClaimed) return FromErrno(EAGAIN, path);
        return handle;
    }
}

// Memory comes first: a file that was made must not stay behind for want of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::string& path, std::string_view name,
                                             OpenMode mode, Share share) {
    auto file = std::make_unique<NativeFile>(std::string(name), mode);
    auto handle = OpenClaimed(path, mode, share);
    if (!handle) return handle.Error();
    file->Take(*std::move(handle));
    return std::unique_ptr<File>(std::move(file));
}

mode_t NewMode(mode_t wanted) {
    return wanted & thePermissions;
}

}  // namespace platform::posix

namespace platform {

void KeepNewFilesPrivate() {
    posix::thePermissions = 0700;
}

}  // namespace platform
