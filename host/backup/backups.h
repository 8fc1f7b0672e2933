#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::backup {

struct BackupFile {
    std::string name;    // in the backup's folder
    std::string origin;  // native path of the file that it is a copy of
};

struct Backup {
    std::string id;  // the time it was made, UTC: 20261124-131900
    std::string reason;
    std::vector<BackupFile> files;
    std::vector<std::string> absent;      // what did not exist then; a restore removes it
    std::vector<std::string> passedOver;  // just now, of a new one: what is no regular file
};

// A nickname file and its side file (.toc in any case), which need not exist. Native paths.
base::Result<std::vector<std::string>> FilesOfBook(platform::Files& files,
                                                   const std::string& nicknameFile);

// Copies of Eudora's files in folders named by time. A backup counts from the moment when it is
// complete; one that fails leaves nothing behind, and what a cut-off run left goes with the next.
// kRefused if the disk has no room for all of it.
class Backups {
  public:
    Backups(platform::Files& files, std::string folder, platform::Clock& clock)
        : m_files(files), m_folder(std::move(folder)), m_clock(clock) {}

    // Copies files that need not exist. A restore puts them back in this order.
    base::Result<Backup> Make(const std::vector<std::string>& origins, const std::string& reason);
    // Removes backups that are older than 30 days and not among the newest 10.
    base::Status Prune();
    // Oldest first.
    base::Result<std::vector<Backup>> List();
    // Puts the files back, each in one step, after a backup of the present ones, which it gives.
    // All are copied beside their places before the first takes its own, and what did not exist
    // then goes last, so that a restore that was cut off is completed by another one.
    // kRefused for an unknown id. `ready`, if given, is called with the backup when nothing more
    // has to be checked or copied, before the first file changes; its failure ends the restore.
    base::Result<Backup> Restore(const std::string& id,
                                 const std::function<base::Status(const Backup&)>& ready = nullptr);

  private:
    // A folder of a backup, or a file in it.
    std::string PathOf(const std::string& id, const std::string& name = {}) const;
    base::Result<std::string> NewFolder();
    void RemoveLeftovers();
    void Discard(const std::string& id);
    base::Status Fill(Backup& backup, const std::vector<std::string>& origins);
    base::Result<Backup> ReadManifest(const std::string& id);

    platform::Files& m_files;
    std::string m_folder;
    platform::Clock& m_clock;
};

}  // namespace host::backup
