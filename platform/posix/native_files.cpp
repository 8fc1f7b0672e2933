#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <vector>

#include "platform/os/system.h"
#include "platform/posix/character_case.h"
#include "platform/posix/open_file.h"

namespace platform::posix {

namespace {

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A rename is on the disk only when the folder is.
Status FlushFolder(const std::string& folder) {
    const FileHandle handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot flush a folder, and need not.
    if (handle && (fsync(handle.Get()) == 0 || errno == EINVAL)) return {};
    return FromErrno(errno, folder);
}

// A copy under way: both files, and the names for failures.
struct Copying {
    int from, to;
    const std::string &fromPath, &toPath;
};

// Copies what lies between two places by reading and writing.
Status CopyByHand(const Copying& copy, off_t begin, off_t end) {
    std::vector<char> buffer(1 << 16);
    while (begin < end) {
        const auto piece = static_cast<std::size_t>(std::min<off_t>(end - begin, off_t{1} << 16));
        const auto count = MoveBytes(piece, copy.fromPath, [&](std::size_t done, std::size_t left) {
            return pread(copy.from, buffer.data() + done, left, begin + static_cast<off_t>(done));
        });
        if (!count) return count.Error();
        // Somebody cut the file meanwhile.
        if (*count == 0) return Checked(ftruncate(copy.to, begin), copy.toPath);
        const auto written =
            MoveBytes(*count, copy.toPath, [&](std::size_t done, std::size_t left) {
                return pwrite(copy.to, buffer.data() + done, left,
                              begin + static_cast<off_t>(done));
            });
        if (!written) return written.Error();
        begin += static_cast<off_t>(*written);
    }
    return {};
}

// Lets the kernel copy as far as it can. Where it stops, reading and writing tell which of the two
// files is in the way, if any is.
Status CopyRange(const Copying& copy, off_t begin, off_t end) {
    off_t from = begin, to = begin;
    while (from < end) {
        const auto count = copy_file_range(copy.from, &from, copy.to, &to,
                                           static_cast<std::size_t>(end - from), 0);
        if (count == 0 || (count < 0 && errno != EINTR)) return CopyByHand(copy, from, end);
    }
    return {};
}

// Copies the `size` bytes that the file had when it was opened. Holes stay holes where the file
// system tells them; where it does not, all is one piece.
Status CopyContent(const Copying& copy, off_t size) {
    if (ioctl(copy.to, FICLONE, copy.from) == 0) return {};
    if (ftruncate(copy.to, size) != 0) return FromErrno(errno, copy.toPath);
    for (off_t at = 0; at < size;) {
        const off_t data = lseek(copy.from, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) return {};
        const off_t begin = data < 0 ? at : data, hole = lseek(copy.from, begin, SEEK_HOLE);
        const off_t end = hole < 0 ? size : std::min(hole, size);
        if (auto status = CopyRange(copy, begin, end); !status) return status;
        at = end;
    }
    return {};
}

// Access lists and the like; what the file system or the user may not set stays away.
void CopyAttributes(int from, int to) {
    std::vector<char> names(65536), value(65536);
    const auto length = flistxattr(from, names.data(), names.size());
    for (ssize_t i = 0; i < length;) {
        const std::string name = &names[static_cast<std::size_t>(i)];
        const auto size = fgetxattr(from, name.c_str(), value.data(), value.size());
        if (size >= 0) {
            (void)fsetxattr(to, name.c_str(), value.data(), static_cast<std::size_t>(size), 0);
        }
        i += static_cast<ssize_t>(name.size()) + 1;
    }
}

// The permissions of `info` for an open file. Changing the owner can clear bits and is not
// everybody's right, so it comes first and may fail.
Status SetPermissions(int file, const struct stat& info, const std::string& path) {
    if (fchown(file, info.st_uid, info.st_gid) != 0 &&
        fchown(file, static_cast<uid_t>(-1), info.st_gid) != 0 && errno != EPERM) {
        return FromErrno(errno, path);
    }
    return Checked(fchmod(file, info.st_mode & 07777), path);
}

// A name that leads to a file through links stands for that file: the links stay.
std::string Resolved(const std::string& path) {
    char buffer[PATH_MAX];
    return realpath(path.c_str(), buffer) != nullptr ? buffer : path;
}

Status RenameFile(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return FromErrno(errno, errno == EEXIST ? to : from);
    // Without that flag a second link refuses an existing name just as well.
    if (link(from.c_str(), to.c_str()) != 0) return FromErrno(errno, to);
    return Checked(unlink(from.c_str()), from);
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

bool IsFolder(DIR* folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_DIR;
    struct stat info;
    return fstatat(dirfd(folder), entry.d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
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
        return result;
    }

    bool IsReadOnly(std::string_view path) override {
        const std::string name(path);
        struct stat info;
        return stat(name.c_str(), &info) == 0 &&
               ((info.st_mode & 0222) == 0 ||
                faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0);
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

    Status Copy(std::string_view fromPath, std::string_view toPath) override {
        const std::string from(fromPath), to(toPath);
        auto source = OpenClaimed(from, OpenMode::kRead, Share::kReadWrite);
        if (!source) return source.Error();
        struct stat info;
        if (fstat(source->Get(), &info) != 0) return FromErrno(errno, from);
        // A folder opens like a file, and looks like one hole.
        if (S_ISDIR(info.st_mode)) return FromErrno(EISDIR, from);
        auto target = OpenClaimed(to, OpenMode::kCreateNew, Share::kNone);
        if (!target) return target.Error();
        // Nobody reads a copy who could not read the original.
        (void)fchmod(target->Get(), 0600);
        Status status = CopyContent({source->Get(), target->Get(), from, to}, info.st_size);
        if (!status) {
            (void)unlink(to.c_str());
            return status;
        }
        const struct timespec times[] = {info.st_atim, info.st_mtim};
        (void)fchmod(target->Get(), NewMode(info.st_mode & 0777));
        (void)futimens(target->Get(), times);
        return {};
    }

    Status Move(std::string_view fromPath, std::string_view toPath) override {
        const std::string from(fromPath), to(toPath);
        FileHandle claim;
        if (auto status = ClaimForRemoval(from, claim); !status) return status;
        if (auto status = RenameFile(from, to); !status) return status;
        if (auto status = FlushFolder(FolderOf(to)); !status) return status;
        if (FolderOf(from) == FolderOf(to)) return {};
        return FlushFolder(FolderOf(from));
    }

    Status MoveLazily(std::string_view from, std::string_view to) override {
        return RenameFile(std::string(from), std::string(to));
    }
    Status Replace(std::string_view fromPath, std::string_view toPath) override {
        const std::string from(fromPath), to(toPath);
        const auto target = OpenClaimed(to, OpenMode::kReadWrite, Share::kNone);
        if (!target) return target.Error();
        const auto source = OpenClaimed(from, OpenMode::kRead, Share::kNone);
        if (!source) return source.Error();
        struct stat oldInfo, newInfo;
        if (fstat(target->Get(), &oldInfo) != 0) return FromErrno(errno, to);
        if (fstat(source->Get(), &newInfo) != 0) return FromErrno(errno, from);
        const std::string resolved = Resolved(to);
        CopyAttributes(target->Get(), source->Get());
        Status status = SetPermissions(source->Get(), oldInfo, from);
        if (status) status = Checked(fsync(source->Get()), from);
        if (status) status = Checked(rename(from.c_str(), resolved.c_str()), to);
        if (!status) {
            (void)SetPermissions(source->Get(), newInfo, from);
            return status;
        }
        return FlushFolder(FolderOf(resolved));
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
        std::string path = folder != nullptr && folder[0] != '\0' ? folder : "/tmp";
        return path.ends_with('/') ? path : path + '/';
    }

    char Separator() const override { return '/'; }
};

}  // namespace

}  // namespace platform::posix

namespace platform {

Files& NativeFiles() {
    static posix::NativePosixFiles files;
    return files;
}

}  // namespace platform
