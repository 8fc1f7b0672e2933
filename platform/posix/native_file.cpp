#include "platform/posix/native_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/posix/posix_error.h"
#include "platform/posix/share_lock.h"

namespace platform::posix {

namespace {

int FlagsOf(OpenMode mode) {
    constexpr int kCommon = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    switch (mode) {
        case OpenMode::kRead:
            return kCommon | O_RDONLY;
        case OpenMode::kReadWrite:
            return kCommon | O_RDWR;
        case OpenMode::kCreateNew:
            return kCommon | O_RDWR | O_CREAT | O_EXCL;
        case OpenMode::kCreate:
        case OpenMode::kReadWriteOrCreate:
            return kCommon | O_RDWR | O_CREAT;
    }
    return kCommon;
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
    NativeFile(FileHandle handle, std::string path)
        : m_handle(std::move(handle)), m_path(std::move(path)) {}

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
        if (ftruncate(m_handle.Get(), static_cast<off_t>(size)) == 0) return {};
        // The system's word for a file that is open for reading only.
        if (errno == EINVAL) return Failure{ErrorCode::kAccessDenied, m_path, EINVAL};
        return FromErrno(errno, m_path);
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
};

}  // namespace

Result<FileHandle> OpenClaimed(const std::string& path, OpenMode mode, Share share) {
    const bool writes = mode != OpenMode::kRead;
    for (;;) {
        FileHandle handle(open(path.c_str(), FlagsOf(mode), 0666));
        if (!handle) return FromErrno(errno, path);
        struct stat info;
        if (fstat(handle.Get(), &info) != 0) return FromErrno(errno, path);
        if (!S_ISREG(info.st_mode) || (writes && (info.st_mode & 0222) == 0)) {
            return FromErrno(EACCES, path);
        }
        const bool isClaimed = ClaimShare(handle.Get(), writes, share);
        if (!StillNamed(path, info)) continue;
        if (!isClaimed) return Failure{ErrorCode::kSharingViolation, path, 0};
        if (mode == OpenMode::kCreate && ftruncate(handle.Get(), 0) != 0) {
            return FromErrno(errno, path);
        }
        return handle;
    }
}

std::unique_ptr<File> MakeNativeFile(FileHandle handle, std::string path) {
    return std::make_unique<NativeFile>(std::move(handle), std::move(path));
}

}  // namespace platform::posix
