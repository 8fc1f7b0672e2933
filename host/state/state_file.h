#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/state/memory.h"
#include "platform/os/files.h"

// The memories in the state file, a SQLite database. Paths are native, in UTF-8. A `scope` names
// one memory: the paths of an address book and a folder, or of an in-box and a Maildir, with LF
// between them.
namespace host::state {

// The lock of a run on the state file, held through the file PATH.lock as long as this lives. The
// system releases the lock of a killed run.
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

// Each memory holds the lock as long as it lives. Without `mayWrite` nothing is written, Save
// fails, and a missing file counts as an empty one. With it the file and its folder are made, and
// an earlier version is brought to the present one. kRefused, with advice, for a file that is
// damaged, in use, of another program or of a later version; such a file is left as it is.
base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite);
base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const std::string& scope, bool mayWrite);

// Forgets the mails of an in-box, given by the path of its In.mbx, with every Maildir: the next run
// pairs both sides anew. The caller holds the lock. A missing state file is no failure.
base::Status ForgetInBox(platform::Files& files, const std::string& path, const std::string& inbox);

}  // namespace host::state
