#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/state/folder_mark.h"
#include "host/state/memory.h"
#include "platform/os/files.h"

// The memories in the state file, a SQLite database. Paths are native, in UTF-8.
namespace host::state {

// The lock of a run on the state file, held through the file PATH.lock: see Lock::Take.
base::Result<Lock> LockState(platform::Files& files, const std::string& stateFile, bool mayWrite);

// The memory of two sides, which are known again however they are named, and the folder wherever it
// moved, by its mark. One that has no mark, or another one, is remembered by nobody; so is a copy
// beside the marked original. An empty folder without a mark where a known one lay stands for that
// one: it may be a disk that is not there.
//
// A memory holds the locks of the state file and of both sides as long as it lives. Without
// `mayWrite` nothing is written, Save fails, and a missing file counts as an empty one. With it the
// file and its folder are made, and an earlier version is brought to the present one. kRefused,
// with advice, if another run holds a lock, and for a file that is damaged, in use, of another
// program or of a later version; such a file is left as it is.
base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite);
base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite);

// Forgets what is remembered of a nickname file or, given In.mbx, of an in-box, with every folder:
// the next run pairs both sides anew. The caller holds the lock. A missing state file is no
// failure.
base::Status ForgetEudora(platform::Files& files, const std::string& path,
                          const std::string& eudora);
// Forgets of all that the rows of these vCards, by their names, or files of a Maildir, by the parts
// of their names that stay.
base::Status ForgetFiles(platform::Files& files, const std::string& path, const std::string& eudora,
                         const std::vector<std::string>& names);

}  // namespace host::state
