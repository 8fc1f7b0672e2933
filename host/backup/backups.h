#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// Backups of what runs change or remove. Paths are native, in UTF-8.
namespace host::backup {

// What a file is, and what a backup holds of it. The numbers stand in the manifest.
enum class Kind {
    kEudora = 0,   // Eudora's: a copy of all of it
    kGrowing = 1,  // Eudora's: the length alone, as only what is behind that changes
    kCard = 2,     // a vCard: a copy
    kMail = 3,     // a file of a Maildir, which programs rename: a copy
};

// A file that may be lost or changed.
struct Origin {
    Origin(std::string where, Kind what = Kind::kEudora) : path(std::move(where)), kind(what) {}
    std::string path;
    Kind kind;

    bool IsEudoras() const { return kind == Kind::kEudora || kind == Kind::kGrowing; }
};

// What a backup has of one file.
struct BackupFile : Origin {
    std::string name = {};  // of the copy in the backup's folder; empty if the length is kept alone
    std::string real = {};  // where the path led; empty in a backup of an earlier version
    std::uint64_t size = 0;  // bytes, also of what is not copied
    std::string print = {};  // a fingerprint of the last bytes of what is not copied
};

// The two sides of a run.
struct Sides {
    std::string eudoraFolder;  // empty in a backup of an earlier version, as are the others
    std::string eudora;        // the nickname file, or In.mbx
    std::string folder;        // of vCards, or the Maildir
};

// One backup, as its manifest backup.json describes it.
struct Backup {
    std::string id;  // the time it was made, UTC: 20261124-131900
    std::string reason;
    Sides sides;
    std::vector<BackupFile> files;
    std::vector<std::string> absent;      // files that did not exist; a restore removes them
    std::vector<std::string> passedOver;  // what is no regular file; known only of a new backup

    std::uint64_t CopiedBytes() const;
};

// A nickname file and its table of contents (.toc in any case), which need not exist.
base::Result<std::vector<Origin>> FilesOfBook(platform::Files& files,
                                              const std::string& nicknameFile);

// The bytes that all backups may have together if nothing else is said.
inline constexpr std::uint64_t kUsualSpace = 2'000'000'000;

// Backups in folders named by time, below `folder`. One exists once it is complete: a failed one is
// removed at once, one of an interrupted run by the next Make. `files` and `clock` outlive the
// object.
class Backups {
  public:
    Backups(platform::Files& files, std::string folder, platform::Clock& clock)
        : m_files(files), m_folder(std::move(folder)), m_clock(clock) {}

    // Keeps files that need not exist; a restore puts them back in this order. All of it is on the
    // disk when this returns. kRefused if the disk has no room for the copies.
    base::Result<Backup> Make(const std::vector<Origin>& origins, const std::string& reason,
                              const Sides& sides = {});
    // Removes backups that are older than 30 days and not among the newest 10, and the oldest ones
    // while all together have more than `space` bytes, but never the newest one of an Eudora nor
    // those made since `began`. Gives the removed ones. With a folder only those of that Eudora
    // count and go.
    base::Result<std::vector<Backup>> Prune(
        std::uint64_t space, std::optional<std::chrono::system_clock::time_point> began = {},
        const std::string& eudoraFolder = {});
    // Oldest first; with a folder only those of that Eudora.
    base::Result<std::vector<Backup>> List(const std::string& eudoraFolder = {});
    // kRefused for an unknown id, and for a backup of another Eudora if a folder is given.
    base::Result<Backup> Find(const std::string& id, const std::string& eudoraFolder = {});
    // A folder of a backup, or a file in it.
    std::string PathOf(const std::string& id, const std::string& name = {}) const;

  private:
    base::Result<std::string> NewFolder();
    void RemoveLeftovers();
    void Discard(const std::string& id);
    std::string FreeName(const Backup& backup, const std::string& origin) const;
    base::Status Fill(Backup& backup, const std::vector<Origin>& origins);
    base::Status Keep(Backup& backup, const Origin& origin, std::uint64_t size);
    base::Status Flush(const Backup& backup);
    base::Result<Backup> ReadManifest(const std::string& id);
    bool IsOf(const Backup& backup, const std::string& eudoraFolder) const;

    platform::Files& m_files;
    std::string m_folder;
    platform::Clock& m_clock;
};

// The name by which a memory knows a vCard or a file of a Maildir.
std::string RememberedName(platform::Files& files, const BackupFile& file);

// Where a path leads, with all links followed; also that of a file that is not there.
std::string RealOf(platform::Files& files, const std::string& path);

// A fingerprint of the last bytes of a file in front of that place.
base::Result<std::string> PrintOf(platform::Files& files, const std::string& path,
                                  std::uint64_t end);

// The Eudora folder of a backup; of one of an earlier version judged by its files.
std::string EudoraFolderOf(platform::Files& files, const Backup& backup);

}  // namespace host::backup
