#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/result.h"

namespace platform {

enum class OpenMode {
    kRead,              // existing file, reading only
    kReadWrite,         // existing file, reading and writing, content kept
    kCreateNew,         // created; kAlreadyExists unless the name is free
    kReadWriteOrCreate  // content kept; created empty if the name is free
};

// What others may do with the file while it is open here. On Windows it binds all programs, on
// other systems only our own.
enum class Share { kNone, kRead, kReadWrite };

enum class SeekFrom { kBegin, kCurrent, kEnd };

// An open file. Closing in the destructor ignores errors: call Close() to learn of them.
class File {
  public:
    virtual ~File() = default;

    // Reads up to `buffer.size()` bytes; fewer only at the end of the file, 0 at the end itself.
    virtual Result<std::size_t> Read(std::span<char> buffer) = 0;
    // Writes all of `bytes` or fails; after a failure any part may have been written.
    virtual Status Write(std::string_view bytes) = 0;
    // Moves the position and gives the new one, in bytes from the beginning.
    virtual Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) = 0;
    // Reads as Read does, from `offset` on; the position is anywhere afterwards.
    virtual Result<std::size_t> ReadAt(std::uint64_t offset, std::span<char> buffer);
    virtual Result<std::uint64_t> Size() = 0;
    // Cuts the file or extends it with zero bytes to `size` bytes; the position is kept.
    virtual Status Truncate(std::uint64_t size) = 0;
    // Returns when the content is on the disk.
    virtual Status Flush() = 0;
    virtual Status Close() = 0;
};

struct FileInfo {
    std::uint64_t size = 0;  // bytes; 0 for a folder
    std::chrono::system_clock::time_point modified;
    bool isFolder = false;
    std::uint64_t copySize = 0;  // bytes that a copy takes; holes stay holes
};

struct FolderEntry {
    std::string name;  // without folder
    bool isFolder = false;
};

// A file system. The implementation states the form of its paths: the module's are Windows paths in
// the system code page, the host's are native paths in UTF-8. Links are followed to existing files;
// nothing is created through a link that leads nowhere. A failure names the path.
class Files {
  public:
    virtual ~Files() = default;

    // kNotRegular, without waiting, for a folder, a device, a pipe, a socket, and, for writing, a
    // link that leads nowhere. kSharingViolation if another claim on the file forbids it. The
    // caller owns the open file.
    virtual Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode,
                                               Share share) = 0;
    // kNotFound if there is nothing of that name.
    virtual Result<FileInfo> Stat(std::string_view path) = 0;
    // What a folder holds, in the order in which the file system lists it, without "." and "..".
    // `pattern` is matched against the names without regard to case; it may hold * and ?.
    virtual Result<std::vector<FolderEntry>> List(std::string_view folder,
                                                  std::string_view pattern) = 0;
    // Deletes a file; of a link the link itself.
    virtual Status Delete(std::string_view path) = 0;
    // As Delete, also for read-only files where the system protects them.
    virtual Status DeleteEvenReadOnly(std::string_view path) { return Delete(path); }
    // kAlreadyExists unless `to` is free. Takes time and permissions along, shares the blocks where
    // the file system can, and leaves nothing behind when it fails. The failure names the file that
    // it is about.
    virtual Status Copy(std::string_view from, std::string_view to) = 0;
    // kAlreadyExists unless `to` is free; both must lie on one file system.
    virtual Status Move(std::string_view from, std::string_view to) = 0;
    // As Move, but the new name may be durable only after a Settle.
    virtual Status MoveLazily(std::string_view from, std::string_view to) { return Move(from, to); }
    // Returns when everything that was written to the file system of `folder`, names and contents,
    // is on the disk. kNotSupported where no single call does that.
    virtual Status Settle(std::string_view folder) {
        return Failure{ErrorCode::kNotSupported, std::string(folder)};
    }
    // Lets the file `from` take the place of `to` in one step that is durable when this returns:
    // a reader sees the old content or the new one. `to` must exist and must be openable for
    // writing; its permissions are kept. After a failure both files are as they were.
    virtual Status Replace(std::string_view from, std::string_view to) = 0;
    virtual Status CreateFolder(std::string_view path) = 0;  // kAlreadyExists unless it is free
    // As CreateFolder, but only the user may enter it. On Windows it has the rights of its parent.
    virtual Status CreatePrivateFolder(std::string_view path) { return CreateFolder(path); }
    virtual Status RemoveFolder(std::string_view path) = 0;  // an empty one
    // The absolute path of an existing file in UTF-8: links followed, names spelt as on the disk,
    // separated by slashes. For comparing, not for opening.
    virtual Result<std::string> RealPath(std::string_view path) = 0;
    // The file's short path in 8.3 form if it has one, else the path itself.
    // kNotFound if there is no such file.
    virtual Result<std::string> ShortPath(std::string_view path);
    // The system's folder for temporary files, ending in a separator.
    virtual Result<std::string> TempFolder() = 0;
    // The bytes that the user may still write on the disk of `folder`. kNotSupported if unknown.
    virtual Result<std::uint64_t> FreeSpace(std::string_view folder) {
        return Failure{ErrorCode::kNotSupported, std::string(folder)};
    }
    // The separator of this file system's paths: a backslash in Windows paths, else a slash.
    virtual char Separator() const = 0;

    bool Exists(std::string_view path) { return static_cast<bool>(Stat(path)); }
    // Whether nothing has that name, not even a link that leads nowhere. False when in doubt.
    virtual bool IsFree(std::string_view path);
    // Whether the calling user may not write it. False for what is not there.
    virtual bool IsReadOnly(std::string_view path) = 0;
    // Creates an empty file in `folder` and gives its path: the first three letters of `prefix`,
    // four hexadecimal digits, ".tmp". Prefixes are ASCII; a folder whose last character has two
    // bytes ends in a separator.
    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix);
    // Creates a private folder with an unguessable name, the prefix and random letters.
    Result<std::string> CreateTempFolder(std::string_view folder, std::string_view prefix);
};

// Whether `path`, with all links followed, leads to something inside `folder`.
bool LiesIn(Files& files, std::string_view path, std::string_view folder);

// The whole content of a file. kTooLarge, without reading, if it has more than `limit` bytes.
Result<std::string> ReadWhole(Files& files, std::string_view path, std::uint64_t limit,
                              Share share = Share::kRead);
// The first `most` bytes, or all if there are fewer.
Result<std::string> ReadFront(Files& files, std::string_view path, std::uint64_t most);

// Overwrites the existing file `to` with the content of `from`; its permissions stay. A failure
// names the file it is about and leaves `to` with a part of the content.
Status CopyInto(Files& files, std::string_view from, std::string_view to);

}  // namespace platform
