#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// Backups of Eudora's files. Paths are native, in UTF-8.
namespace host::backup {

// One copy.
struct BackupFile {
    std::string name;    // in the backup's folder
    std::string origin;  // path of the copied file
};

// One backup, as its manifest backup.json describes it.
struct Backup {
    std::string id;  // the time it was made, UTC: 20261124-131900
    std::string reason;
    std::vector<BackupFile> files;
    std::vector<std::string> absent;      // files that did not exist; a restore removes them
    std::vector<std::string> passedOver;  // what is no regular file; known only of a new backup
};

// A nickname file and its table of contents (.toc in any case), which need not exist.
base::Result<std::vector<std::string>> FilesOfBook(platform::Files& files,
                                                   const std::string& nicknameFile);

// Copies of files in folders named by time, below `folder`. A backup exists once it is complete: a
// failed one is removed at once, one of an interrupted run by the next Make. `files` and `clock`
// outlive the object.
class Backups {
  public:
    Backups(platform::Files& files, std::string folder, platform::Clock& clock)
        : m_files(files), m_folder(std::move(folder)), m_clock(clock) {}

    // Copies files that need not exist; a restore puts them back in this order. The copies are on
    // the disk when this returns. kRefused if the disk has no room for all of them.
    base::Result<Backup> Make(const std::vector<std::string>& origins, const std::string& reason);
    // Removes backups that are older than 30 days and not among the newest 10.
    base::Status Prune();
    // Oldest first.
    base::Result<std::vector<Backup>> List();
    // Puts the files back and gives a backup of those that were in their places. All are copied
    // beside their places first; then each takes its place in one step; files that did not exist
    // are removed last. An interrupted restore is completed by another one.
    // kRefused, with nothing changed, for an unknown id or a place that cannot be written. `ready`,
    // if given, is called before the first file changes; its failure ends the restore. A failure
    // after that leaves some files restored and the others as they were.
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
