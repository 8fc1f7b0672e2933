#include "platform/posix/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>

#include "platform/os/system.h"

namespace platform::posix {

namespace {

// The claims of an open file. For each of its claims it locks one byte in the row of that claim.
enum Claim : off_t { kReads, kWrites, kDeniesReading, kDeniesWriting };

constexpr off_t kBase = 0x7FFFFFFFFFFF0000;
constexpr off_t kPlaces = 64;  // in a row: so many can make the same claim at a time

struct flock LockOf(Claim claim, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = kBase + claim * kPlaces;
    lock.l_len = kPlaces;
    return lock;
}

// Without a free place, or without the right to write, there is no claim.
void Hold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_WRLCK);
    for (lock.l_len = 1; fcntl(descriptor, F_OFD_SETLK, &lock) != 0; ++lock.l_start) {
        const bool isTaken = errno == EAGAIN || errno == EACCES;
        if (!isTaken || lock.l_start == kBase + claim * kPlaces + kPlaces - 1) return;
    }
}

// Whether another open file has made that claim. What is asked for is what everybody may have who
// may read, so that of all locks only those of writers are in its way.
bool OthersHold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_RDLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Opens a file so that a claim on it counts, where the user may write it.
FileHandle OpenForClaim(const std::string& path, int flags) {
    FileHandle handle(open(path.c_str(), flags | O_RDWR));
    return handle ? std::move(handle) : FileHandle(open(path.c_str(), flags | O_RDONLY));
}

// Whether nobody else's claim is in the way. Each claim is made before the others' are looked at,
// so of two at the same time at least one sees the other.
bool ClaimShare(int descriptor, bool writes, Share share) {
    const bool deniesReading = share == Share::kNone;
    const bool deniesWriting = share != Share::kReadWrite;
    Hold(descriptor, kReads);
    if (writes) Hold(descriptor, kWrites);
    if (deniesReading) Hold(descriptor, kDeniesReading);
    if (deniesWriting) Hold(descriptor, kDeniesWriting);
    return !OthersHold(descriptor, kDeniesReading) &&
           !(writes && OthersHold(descriptor, kDeniesWriting)) &&
           !(deniesReading && OthersHold(descriptor, kReads)) &&
           !(deniesWriting && OthersHold(descriptor, kWrites));
}

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
    auto file = std::make_unique<NativeFile>(name, mode);
    auto handle = OpenClaimed(path, mode, share);
    if (!handle) return handle.Error();
    file->Take(*std::move(handle));
    return std::unique_ptr<File>(std::move(file));
}

Status ClaimForRemoval(const std::string& path, FileHandle& claim) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
    claim = OpenForClaim(path, O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (!claim || fstat(claim.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
    if (!ClaimShare(claim.Get(), false, Share::kNone)) return FromErrno(EAGAIN, path);
    return {};
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
