#include "platform/posix/placement.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

#include "platform/posix/claimed_file.h"

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

}  // namespace

Status RenameFile(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return FromErrno(errno, errno == EEXIST ? to : from);
    // Without that flag a second link refuses an existing name just as well.
    if (link(from.c_str(), to.c_str()) != 0) return FromErrno(errno, to);
    return Checked(unlink(from.c_str()), from);
}

Status CopyFile(const std::string& from, const std::string& to) {
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

Status MoveFile(const std::string& from, const std::string& to) {
    FileHandle claim;
    if (auto status = ClaimForRemoval(from, claim); !status) return status;
    if (auto status = RenameFile(from, to); !status) return status;
    if (auto status = FlushFolder(FolderOf(to)); !status) return status;
    if (FolderOf(from) == FolderOf(to)) return {};
    return FlushFolder(FolderOf(from));
}

Status ReplaceFile(const std::string& from, const std::string& to) {
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

}  // namespace platform::posix
