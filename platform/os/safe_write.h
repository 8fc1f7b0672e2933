#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/os/files.h"

namespace platform {

// New content on its way into a file. It grows in a side file beside the file, is flushed, and
// takes the file's place in one step, so that a crash or a failure at any moment leaves the old
// content or the new one, in full. The side file goes with the object unless Commit succeeded.
// The calls come in the order below; the first failure ends it.
class SafeWrite {
  public:
    // Both paths lie in one folder. `files` outlives this object.
    SafeWrite(Files& files, std::string path, std::string side);
    // The side file is `path` with ".kvnew" behind, which no program takes for a file of its own.
    SafeWrite(Files& files, const std::string& path) : SafeWrite(files, path, path + ".kvnew") {}
    ~SafeWrite();
    SafeWrite(const SafeWrite&) = delete;
    SafeWrite& operator=(const SafeWrite&) = delete;

    // Makes an empty side file, or one with the content and time of the file `from`, in place of
    // whatever had its name. The file itself need not exist; if it does, it must be openable for
    // writing.
    Status Begin();
    Status BeginAsCopyOf(std::string_view from);
    Status Write(std::string_view bytes);
    // All that was written is on the disk when this returns.
    Status Finish();
    // Lets the side file take its place, after Finish if that was not called. What became or
    // ceased to be a file under that name since the beginning is a failure.
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

// Copies as Files::Copy does; the copy is on the disk when this returns.
Status CopyFlushed(Files& files, std::string_view from, std::string_view to);

}  // namespace platform
