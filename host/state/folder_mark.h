#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

// The mark and the lock of a folder of vCards or a Maildir. Paths are native, in UTF-8.
namespace host::state {

// The file by which a folder is known again, wherever it lies. Programs that read vCards or mails
// pass it over.
inline constexpr const char* kMarkName = ".kvsync";

// A file that a run holds as long as this lives, so that no other run works on the same thing. The
// system releases it when the run is killed.
class Lock {
  public:
    // kRefused, with advice, if another run holds it. `mayWrite` false makes no file: then one that
    // does not exist counts as free.
    static base::Result<Lock> Take(platform::Files& files, const std::string& path, bool mayWrite);

  private:
    explicit Lock(std::unique_ptr<platform::File> file) : m_file(std::move(file)) {}
    std::unique_ptr<platform::File> m_file;
};

// The mark of one folder, which also is the lock on it.
class FolderMark {
  public:
    // Locks the folder, if it has a mark, and reads it. kRefused if another run holds it. A folder
    // that may not be written is locked against writers alone.
    static base::Result<FolderMark> Take(platform::Files& files, const std::string& folder,
                                         bool mayWrite);
    // The mark that a folder has now, without its lock; empty for none.
    static std::string Of(platform::Files& files, const std::string& folder);

    // Empty if the folder has none, or a damaged one.
    const std::string& Id() const { return m_id; }
    // Gives the existing folder this mark, on the disk when this returns, and locks it. kRefused if
    // another run made one meanwhile. A failure leaves a folder without mark.
    base::Status Set(const std::string& id);

  private:
    FolderMark(platform::Files& files, std::string path)
        : m_files(files), m_path(std::move(path)) {}

    platform::Files& m_files;
    std::string m_path;
    std::unique_ptr<platform::File> m_file;  // null without a mark
    std::string m_id;
};

}  // namespace host::state
