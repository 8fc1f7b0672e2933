#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/files.h"
#include "platform/os/not_copied.h"

namespace platform {

// Replaces the content of a file in one step: the new content is written to a side file, flushed,
// and takes the file's place. A crash or a failure at any moment leaves the old content or the new
// one, in full. Without a successful Commit the destructor deletes the side file. The calls come in
// the order below, and none follows a failure.
class SafeWrite : NotCopied {
  public:
    // Both paths lie in one folder. `files` outlives this object.
    SafeWrite(Files& files, std::string path, std::string side);
    // The side file is `path` with ".kvnew" behind, which no program takes for a file of its own.
    SafeWrite(Files& files, const std::string& path) : SafeWrite(files, path, path + ".kvnew") {}
    ~SafeWrite();

    // Creates the side file, empty or with the content and time of the file `from`, or with its
    // first `length` bytes, in place of an old one. The target need not exist; if it does, it must
    // be openable for writing.
    Status Begin();
    Status BeginAsCopyOf(std::string_view from, std::optional<std::uint64_t> length = {});
    Status Write(std::string_view bytes);
    // Returns when all of the side file is on the disk.
    Status Finish();
    // Puts the side file in the target's place, after a Finish if that was not called. Fails if the
    // target was created or deleted since Begin.
    Status Commit();

  private:
    Status MakeRoom();

    Files& m_files;
    const std::string m_path, m_side;
    std::unique_ptr<File> m_file;  // the side file while it is being written
    bool m_isNew = false;          // nothing had the name at the beginning
    bool m_hasSide = false;
};

// Makes `content` the file's content by a SafeWrite.
Status WriteWhole(Files& files, std::string_view path, std::string_view content);
Status WriteWhole(SafeWrite&& write, std::string_view content);

// Returns when the content of a file that nobody has open is on the disk.
Status FlushFile(Files& files, std::string_view path);
// Copies as Files::Copy does; the copy is on the disk when this returns.
Status CopyFlushed(Files& files, std::string_view from, std::string_view to);

}  // namespace platform
