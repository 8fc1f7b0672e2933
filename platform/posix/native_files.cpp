#include "platform/posix/native_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "platform/posix/character_case.h"
#include "platform/posix/native_file.h"
#include "platform/posix/placement.h"
#include "platform/posix/posix_error.h"

namespace platform::posix {

namespace {

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

}  // namespace

Result<std::unique_ptr<File>> NativePosixFiles::Open(std::string_view path, OpenMode mode,
                                                     Share share) {
    return OpenNativeFile(std::string(path), path, mode, share);
}

Result<FileInfo> NativePosixFiles::Stat(std::string_view path) {
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

Result<std::vector<FolderEntry>> NativePosixFiles::List(std::string_view folder,
                                                        std::string_view pattern) {
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

Status NativePosixFiles::Delete(std::string_view path) {
    const std::string name(path);
    FileHandle claim;
    if (auto status = ClaimForRemoval(name, claim); !status) return status;
    if (unlink(name.c_str()) != 0) return FromErrno(errno, path);
    return {};
}

Status NativePosixFiles::Copy(std::string_view from, std::string_view to) {
    return CopyFile(std::string(from), std::string(to));
}

Status NativePosixFiles::Move(std::string_view from, std::string_view to) {
    return MoveFile(std::string(from), std::string(to));
}

Status NativePosixFiles::MoveLazily(std::string_view from, std::string_view to) {
    return RenameFile(std::string(from), std::string(to));
}

Status NativePosixFiles::Settle(std::string_view folder) {
    const FileHandle handle(open(std::string(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!handle || syncfs(handle.Get()) != 0) return FromErrno(errno, folder);
    return {};
}

Status NativePosixFiles::Replace(std::string_view from, std::string_view to) {
    return ReplaceFile(std::string(from), std::string(to));
}

Status NativePosixFiles::CreateFolder(std::string_view path) {
    if (mkdir(std::string(path).c_str(), NewMode(0777)) != 0) return FromErrno(errno, path);
    return {};
}

Status NativePosixFiles::CreatePrivateFolder(std::string_view path) {
    if (mkdir(std::string(path).c_str(), 0700) != 0) return FromErrno(errno, path);
    return {};
}

Status NativePosixFiles::RemoveFolder(std::string_view path) {
    if (rmdir(std::string(path).c_str()) != 0) return FromErrno(errno, path);
    return {};
}

Result<std::string> NativePosixFiles::RealPath(std::string_view path) {
    char buffer[PATH_MAX];
    if (realpath(std::string(path).c_str(), buffer) == nullptr) return FromErrno(errno, path);
    return std::string(buffer);
}

Result<std::uint64_t> NativePosixFiles::FreeSpace(std::string_view folder) {
    struct statvfs info;
    if (statvfs(std::string(folder).c_str(), &info) != 0) return FromErrno(errno, folder);
    return std::uint64_t{info.f_bavail} * info.f_frsize;
}

bool NativePosixFiles::IsFree(std::string_view path) {
    struct stat info;
    return lstat(std::string(path).c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

Result<std::string> NativePosixFiles::ShortPath(std::string_view path) {
    if (auto info = Stat(path); !info) return info.Error();
    return std::string(path);
}

Result<std::string> NativePosixFiles::TempFolder() {
    const char* folder = std::getenv("TMPDIR");
    return WithSeparator(folder != nullptr && folder[0] != '\0' ? folder : "/tmp");
}

Result<std::string> NativePosixFiles::CreateTempFile(std::string_view folder,
                                                     std::string_view prefix) {
    return CreateNumberedFile(*this, WithSeparator(folder) + std::string(prefix.substr(0, 3)));
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
