#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/state/memory.h"
#include "platform/os/files.h"

// The SQLite file that holds all memories; its path is native. A `scope` is one address book with
// one folder, or one in-box with one Maildir.
namespace host::state {

// Keeps a second run away from the state file for as long as it lives, also one on another
// program's part; a killed run holds it no longer.
class StateLock {
  public:
    // kRefused, naming the file, if another run holds it. `mayWrite` false makes no file: then a
    // state file without a lock file counts as free.
    static base::Result<StateLock> Take(platform::Files& files, const std::string& stateFile,
                                        bool mayWrite);

  private:
    explicit StateLock(std::unique_ptr<platform::File> file) : m_file(std::move(file)) {}
    std::unique_ptr<platform::File> m_file;
};

// Each holds the lock on the state file as long as it lives. Without `mayWrite` nothing is written
// and a missing file counts as an empty one; with it the file and its folder are made, and an
// earlier version is brought to the present one. kRefused for a file that is damaged, in use, of
// another program or of a later version: the line says the way out. Such a file is left as it is.
base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite);
base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite);

// Forgets all mails of an in-box (a native path), with whatever Maildir: the next run pairs what
// both sides hold. A state file that is not there has nothing to forget.
base::Status ForgetInBox(platform::Files& files, const std::string& path, const std::string& inbox);

}  // namespace host::state
