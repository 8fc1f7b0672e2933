#include "host/backup/backups.h"

#include <algorithm>
#include <limits>
#include <list>
#include <nlohmann/json.hpp>
#include <tuple>
#include <unordered_map>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/maildir/maildir.h"
#include "platform/os/safe_write.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/fingerprint.h"
#include "text/utf.h"

namespace host::backup {

namespace {

using platform::ErrorCode;

constexpr const char* kManifest = "backup.json";
constexpr std::size_t kTimeLength = 15;  // of the time in an id
constexpr std::uint64_t kLargestManifest = 1u << 28;
constexpr std::uint64_t kPrintedBytes = 4096;

std::string TimeName(std::chrono::system_clock::time_point now) {
    return text::Format("%Y%m%d-%H%M%S", text::CivilTime(now));
}

bool IsId(std::string_view name) {
    return name.size() >= kTimeLength && name[8] == '-' &&
           name.find_first_not_of("0123456789-") == std::string_view::npos;
}

std::string Megabytes(std::uint64_t bytes) {
    return std::to_string((bytes + 999'999) / 1'000'000) + " MB";
}

// A name of a file may be any bytes, and JSON holds UTF-8 alone.
nlohmann::json PathJson(const std::string& path) {
    if (text::IsUtf8(path)) return path;
    return std::vector<std::uint8_t>(path.begin(), path.end());
}

std::string PathIn(const nlohmann::json& json) {
    if (!json.is_array()) return json;
    const auto bytes = json.get<std::vector<std::uint8_t>>();
    return {bytes.begin(), bytes.end()};
}

std::string ToManifest(const Backup& backup) {
    nlohmann::json manifest = {{"reason", backup.reason},
                               {"eudoraFolder", PathJson(backup.sides.eudoraFolder)},
                               {"eudora", PathJson(backup.sides.eudora)},
                               {"folder", PathJson(backup.sides.folder)},
                               {"absent", nlohmann::json::array()},
                               {"files", nlohmann::json::array()}};
    for (const std::string& path : backup.absent) manifest["absent"].push_back(PathJson(path));
    for (const BackupFile& file : backup.files) {
        manifest["files"].push_back({{"name", PathJson(file.name)},
                                     {"origin", PathJson(file.path)},
                                     {"kind", file.kind},
                                     {"real", PathJson(file.real)},
                                     {"size", file.size},
                                     {"print", file.print}});
    }
    return base::JsonText(manifest, 2) + '\n';
}

std::string Join(const platform::Files& files, const std::string& folder, const std::string& name) {
    return folder + files.Separator() + name;
}

std::string NameOf(platform::Files& files, const std::string& path) {
    const std::string folder = base::ParentFolder(files, path);
    return folder.empty() ? path : path.substr(folder.size() + 1);
}

base::Status CheckSpace(platform::Files& files, const std::string& folder,
                        const std::vector<Origin>& origins) {
    std::uint64_t needed = 0;
    for (const Origin& origin : origins) {
        if (origin.kind == Kind::kGrowing) continue;
        if (const auto info = files.Stat(origin.path)) needed += info->copySize;
    }
    const auto free = files.FreeSpace(folder);
    if (!free || needed <= *free) return {};
    return base::Refused("a backup takes " + Megabytes(needed) + ", and " + folder +
                             " has room for " + Megabytes(*free),
                         "make room there");
}

// Whether a file can take that place, before any does.
base::Status CheckPlace(platform::Files& files, const std::string& path) {
    if (files.IsFree(path)) return {};
    const auto info = files.Stat(path);
    if (info && info->isReadOnly) return base::RefusedFor(path, "is read-only", "make it writable");
    const auto file = files.Open(path, platform::OpenMode::kReadWrite, platform::Share::kNone);
    if (file) return {};
    const auto code = file.Error().code;
    if (code == ErrorCode::kNotRegular || code == ErrorCode::kNotFound) {
        return base::Refused(path + ": is no regular file", "move it away");
    }
    if (code == ErrorCode::kSharingViolation) {
        return base::Refused(path + ": is in use by another program",
                             "try again when it has ended");
    }
    return file.Error();
}

// Whether a file of Eudora's belongs to its mails; nickname files may have any name.
bool IsMailbox(platform::Files& files, const std::string& path) {
    const std::string name = text::Lowered(NameOf(files, path));
    const std::string folder = text::Lowered(NameOf(files, base::ParentFolder(files, path)));
    const bool hasEnd = name.ends_with(".mbx") || name.ends_with(".toc");
    const std::string box = hasEnd ? name.substr(0, name.size() - 4) : "";
    return folder != "nickname" && (box == "in" || box == "out" || box == "trash");
}

bool IsWanted(platform::Files& files, const Origin& origin, const std::string& only) {
    const bool isMail =
        origin.IsEudoras() ? IsMailbox(files, origin.path) : origin.kind == Kind::kMail;
    return only.empty() || isMail == (only == "mail");
}

// A fingerprint of the last bytes in front of that place.
base::Result<std::string> PrintOf(platform::Files& files, const std::string& path,
                                  std::uint64_t end) {
    const auto file = files.Open(path, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    std::string bytes(std::min(end, kPrintedBytes), '\0');
    const auto count = (*file)->ReadAt(end - bytes.size(), bytes);
    if (!count) return count.Error();
    return text::Fingerprint(std::string_view(bytes).substr(0, *count));
}

bool AreSame(platform::Files& files, const std::string& one, const std::string& other) {
    constexpr auto kAny = std::numeric_limits<std::uint64_t>::max();
    const auto size = files.Stat(one), otherSize = files.Stat(other);
    if (!size || !otherSize || size->size != otherSize->size) return false;
    const auto bytes = platform::ReadWhole(files, one, kAny, platform::Share::kReadWrite);
    const auto others = platform::ReadWhole(files, other, kAny, platform::Share::kReadWrite);
    return bytes && others && *bytes == *others;
}

// The files of a Maildir by the part of their names that stays.
class MailPlaces {
  public:
    MailPlaces(platform::Files& files, platform::Clock& clock, const std::string& folder)
        : m_maildir(files, clock, folder) {
        const auto entries = m_maildir.List();
        for (const auto& entry : entries ? *entries : std::vector<maildir::MaildirEntry>()) {
            m_places[entry.unique] = m_maildir.PathOf(entry);
        }
    }
    // Where a file is now.
    std::string Of(const BackupFile& file, const std::string& unique) const {
        const auto found = m_places.find(unique);
        return found == m_places.end() ? file.path : found->second;
    }

  private:
    maildir::Maildir m_maildir;
    std::unordered_map<std::string, std::string> m_places;
};

}  // namespace

std::uint64_t Backup::CopiedBytes() const {
    std::uint64_t sum = 0;
    for (const BackupFile& file : files) sum += file.kind == Kind::kGrowing ? 0 : file.size;
    return sum;
}

std::string RememberedName(platform::Files& files, const BackupFile& file) {
    std::string name = NameOf(files, file.path);
    return file.kind == Kind::kMail ? maildir::EntryNamed(std::move(name), false).unique : name;
}

std::string EudoraFolderOf(platform::Files& files, const Backup& backup) {
    if (!backup.sides.eudoraFolder.empty()) return backup.sides.eudoraFolder;
    const std::string first = !backup.files.empty()    ? backup.files[0].path
                              : !backup.absent.empty() ? backup.absent[0]
                                                       : "";
    const std::string folder = base::ParentFolder(files, first);
    return text::EqualNoCase(NameOf(files, folder), "NickName") ? base::ParentFolder(files, folder)
                                                                : folder;
}

base::Result<std::vector<Origin>> FilesOfBook(platform::Files& files,
                                              const std::string& nicknameFile) {
    std::vector<Origin> paths = {nicknameFile};
    const std::string folder = base::ParentFolder(files, nicknameFile);
    const std::string name = NameOf(files, nicknameFile);
    const std::string pattern = name.substr(0, name.rfind('.')) + ".toc";
    const auto sideFiles = files.List(folder.empty() ? "." : folder, pattern);
    if (!sideFiles) return sideFiles.Error();
    for (const platform::FolderEntry& entry : *sideFiles) {
        if (!entry.isFolder) paths.emplace_back(Join(files, folder, entry.name));
    }
    if (paths.size() == 1) paths.emplace_back(Join(files, folder, pattern));
    return paths;
}

std::string Backups::PathOf(const std::string& id, const std::string& name) const {
    const std::string folder = Join(m_files, m_folder, id);
    return name.empty() ? folder : Join(m_files, folder, name);
}

// The manifest goes first: what cannot be removed then does not count as a backup.
void Backups::Discard(const std::string& id) {
    (void)m_files.Delete(PathOf(id, kManifest));
    if (auto entries = m_files.List(PathOf(id), "*")) {
        for (const auto& entry : *entries) (void)m_files.DeleteEvenReadOnly(PathOf(id, entry.name));
    }
    (void)m_files.RemoveFolder(PathOf(id));
}

base::Result<std::string> Backups::NewFolder() {
    const std::string base = TimeName(m_clock.Now());
    for (int number = 1;; ++number) {
        const std::string id = number == 1 ? base : base + '-' + std::to_string(number);
        auto status = m_files.CreateFolder(PathOf(id));
        if (status) return id;
        if (status.Error().code != ErrorCode::kAlreadyExists) return status.Error();
    }
}

// Called under the lock, so that none of them is just being made.
void Backups::RemoveLeftovers() {
    const auto entries = m_files.List(m_folder, "*");
    if (!entries) return;
    for (const platform::FolderEntry& entry : *entries) {
        // A link to another folder is no leftover.
        const bool isOurs =
            IsId(entry.name) && platform::LiesIn(m_files, PathOf(entry.name), m_folder);
        if (isOurs && m_files.IsFree(PathOf(entry.name, kManifest))) Discard(entry.name);
    }
}

base::Result<Backup> Backups::Make(const std::vector<Origin>& origins, const std::string& reason,
                                   const Sides& sides) {
    if (auto status = base::MakeFolders(m_files, m_folder); !status) return status.Error();
    const auto lock = m_files.Open(PathOf("lock"), platform::OpenMode::kReadWriteOrCreate,
                                   platform::Share::kNone);
    if (!lock) return lock.Error();
    RemoveLeftovers();
    if (auto enough = CheckSpace(m_files, m_folder, origins); !enough) return enough.Error();
    auto id = NewFolder();
    if (!id) return id.Error();
    Backup backup{*id, reason, sides, {}, {}, {}};
    if (auto status = Fill(backup, origins); !status) {
        Discard(*id);
        return status.Error();
    }
    return backup;
}

std::string Backups::FreeName(const Backup& backup, const std::string& origin) const {
    const std::string own = NameOf(m_files, origin);
    std::string name = own;
    for (auto number = backup.files.size();
         name == kManifest || m_files.Exists(PathOf(backup.id, name)); ++number) {
        name = std::to_string(number) + own;
    }
    return name;
}

base::Status Backups::Keep(Backup& backup, const Origin& origin, std::uint64_t size) {
    BackupFile file{origin, {}, RealOf(origin.path), size, {}};
    if (origin.kind == Kind::kGrowing) {
        auto print = PrintOf(m_files, origin.path, size);
        if (!print) return print.Error();
        file.print = *std::move(print);
    } else {
        file.name = FreeName(backup, origin.path);
        auto copied = m_files.Copy(origin.path, PathOf(backup.id, file.name));
        if (!copied) return copied;
    }
    backup.files.push_back(std::move(file));
    return {};
}

base::Status Backups::Flush(const Backup& backup) {
    constexpr std::size_t kFew = 16;
    if (backup.files.size() > kFew) {
        auto settled = m_files.Settle(PathOf(backup.id));
        if (settled || settled.Error().code != ErrorCode::kNotSupported) return settled;
    }
    for (const BackupFile& file : backup.files) {
        if (file.name.empty()) continue;
        auto flushed = platform::FlushFile(m_files, PathOf(backup.id, file.name));
        if (!flushed) return flushed;
    }
    return {};
}

base::Status Backups::Fill(Backup& backup, const std::vector<Origin>& origins) {
    for (const Origin& origin : origins) {
        const auto info = m_files.Stat(origin.path);
        base::Status kept = info ? Keep(backup, origin, info->size) : base::Status(info.Error());
        if (kept) continue;
        const auto code = kept.Error().code;
        if (code != ErrorCode::kNotRegular && (info || code != ErrorCode::kNotFound)) return kept;
        const bool isAbsent = !info && m_files.IsFree(origin.path);
        if (!isAbsent) backup.passedOver.push_back(origin.path);
        if (isAbsent && origin.IsEudoras()) backup.absent.push_back(origin.path);
    }
    if (auto flushed = Flush(backup); !flushed) return flushed;
    // The manifest comes last: with it the backup counts.
    return platform::WriteWhole(m_files, PathOf(backup.id, kManifest), ToManifest(backup));
}

base::Result<Backup> Backups::ReadManifest(const std::string& id) {
    const std::string path = PathOf(id, kManifest);
    auto text = platform::ReadWhole(m_files, path, kLargestManifest);
    if (!text) return text.Error();
    try {
        const auto manifest = nlohmann::json::parse(*text);
        const auto told = [](const nlohmann::json& in, const char* key) {
            return in.contains(key) ? PathIn(in.at(key)) : std::string();
        };
        Backup backup{id,
                      manifest.at("reason"),
                      Sides{told(manifest, "eudoraFolder"), told(manifest, "eudora"),
                            told(manifest, "folder")},
                      {},
                      {},
                      {}};
        for (const auto& absent : manifest.at("absent")) backup.absent.push_back(PathIn(absent));
        for (const auto& file : manifest.at("files")) {
            BackupFile read{{PathIn(file.at("origin")), file.value("kind", Kind::kEudora)},
                            PathIn(file.at("name")),
                            told(file, "real"),
                            file.value("size", std::uint64_t{0}),
                            file.value("print", "")};
            // An earlier version noted no sizes.
            const auto info = file.contains("size") ? platform::Failure{ErrorCode::kNotFound, {}}
                                                    : m_files.Stat(PathOf(id, read.name));
            if (info) read.size = info->size;
            backup.files.push_back(std::move(read));
        }
        return backup;
    } catch (const nlohmann::json::exception&) {
        return platform::Failure{ErrorCode::kCorrupt, path};
    }
}

base::Result<std::vector<Backup>> Backups::List(const std::string& eudoraFolder) {
    std::vector<Backup> backups;
    if (!m_files.Exists(m_folder)) return backups;
    auto entries = m_files.List(m_folder, "*");
    if (!entries) return entries.Error();
    for (const platform::FolderEntry& entry : *entries) {
        if (!IsId(entry.name)) continue;
        auto backup = ReadManifest(entry.name);
        if (backup && IsOf(*backup, eudoraFolder)) backups.push_back(*std::move(backup));
    }
    // The number of a later one in the same second may be longer.
    std::ranges::sort(backups, {}, [](const Backup& backup) {
        return std::tuple(backup.id.substr(0, kTimeLength), backup.id.size(), backup.id);
    });
    return backups;
}

base::Result<Backup> Backups::Find(const std::string& id, const std::string& eudoraFolder) {
    auto backup = IsId(id) ? ReadManifest(id) : platform::Failure{ErrorCode::kNotFound, id};
    if (backup && !IsOf(*backup, eudoraFolder)) {
        return base::Refused("backup " + id + " is of " + EudoraFolderOf(m_files, *backup) +
                                 ", not of " + eudoraFolder,
                             "name that Eudora, or none");
    }
    if (backup || backup.Error().code != ErrorCode::kNotFound) return backup;
    return base::Refused("there is no backup " + id + "; `kvsync backups` lists them");
}

base::Result<std::vector<Backup>> Backups::Prune(
    std::uint64_t space, std::optional<std::chrono::system_clock::time_point> began,
    const std::string& eudoraFolder) {
    constexpr std::size_t kNewest = 10;
    const std::string oldest = TimeName(m_clock.Now() - std::chrono::days(30));
    auto backups = List(eudoraFolder);
    if (!backups) return backups;
    std::uint64_t sum = 0;
    std::unordered_map<std::string, std::string> newest;
    for (const Backup& backup : *backups) {
        sum += backup.CopiedBytes();
        newest[EudoraFolderOf(m_files, backup)] = backup.id;
    }
    std::vector<Backup> gone;
    for (std::size_t i = 0; i < backups->size(); ++i) {
        Backup& backup = (*backups)[i];
        const bool stays = newest[EudoraFolderOf(m_files, backup)] == backup.id ||
                           (began && backup.id >= TimeName(*began));
        const bool isOld = i + kNewest < backups->size() && backup.id < oldest;
        if (stays || (!isOld && sum <= space)) continue;
        sum -= backup.CopiedBytes();
        Discard(backup.id);
        gone.push_back(std::move(backup));
    }
    return gone;
}

std::string Backups::RealOf(const std::string& path) const {
    if (auto real = m_files.RealPath(path)) return *real;
    const auto folder = m_files.RealPath(base::ParentFolder(m_files, path));
    return folder ? *folder + '/' + NameOf(m_files, path) : std::string();
}

bool Backups::IsOf(const Backup& backup, const std::string& eudoraFolder) const {
    const std::string own = EudoraFolderOf(m_files, backup);
    return eudoraFolder.empty() || own == eudoraFolder || RealOf(own) == RealOf(eudoraFolder);
}

// What a restore does with one file.
struct Backups::Placing {
    BackupFile file;
    std::string source, target;
    std::optional<std::uint64_t> length;  // of the source's beginning that is meant

    // Programs that read vCards or mails pass the second one over.
    std::string Side(platform::Files& files) const {
        if (file.IsEudoras()) return target + ".kvnew";
        return Join(files, base::ParentFolder(files, target),
                    ".kvsync-" + NameOf(files, target) + ".tmp");
    }
};

bool Backups::BeginsAs(const std::string& path, const BackupFile& file) const {
    const auto info = m_files.Stat(path);
    if (!info || info->size < file.size) return false;
    const auto print = PrintOf(m_files, path, file.size);
    return print && *print == file.print;
}

// Where the bytes of a file are: in the backup; else, as it only grew, in its place, or in a backup
// that was made before it was written anew.
base::Result<std::string> Backups::SourceOf(const Backup& backup, const BackupFile& file) {
    if (file.kind != Kind::kGrowing) return PathOf(backup.id, file.name);
    if (BeginsAs(file.path, file)) return file.path;
    const auto later = List();
    if (!later) return later.Error();
    for (const Backup& other : *later) {
        for (const BackupFile& copy : other.files) {
            const std::string path = PathOf(other.id, copy.name);
            const bool isCopy = other.id > backup.id && copy.kind == Kind::kEudora;
            if (isCopy && copy.path == file.path && BeginsAs(path, file)) return path;
        }
    }
    return base::RefusedFor(
        file.path,
        "was removed or written anew after backup " + backup.id + ", which knows its length alone",
        "put back a backup that holds all of it (kvsync backups --show ID)");
}

base::Status Backups::Choose(Backup& backup, const Wanted& wanted) const {
    const auto isUnwanted = [&](const Origin& origin) {
        return !IsWanted(m_files, origin, wanted.only);
    };
    std::erase_if(backup.files, isUnwanted);
    std::erase_if(backup.absent, isUnwanted);
    if (wanted.only.empty() || !backup.files.empty() || !backup.absent.empty()) return {};
    return base::Refused("backup " + backup.id + " holds no file of " + wanted.only,
                         "`kvsync backups --show " + backup.id + "` lists what it holds");
}

base::Status Backups::CheckPlacing(const Placing& placing, const Wanted& wanted) const {
    const std::string& path = placing.target;
    const std::string& before = placing.file.real;
    const bool isAsBefore =
        before.empty() || placing.file.kind == Kind::kMail
            ? m_files.IsFree(path) ||
                  platform::LiesIn(m_files, path, base::ParentFolder(m_files, path))
            : RealOf(path) == before;
    if (isAsBefore || wanted.followLinks) return CheckPlace(m_files, path);
    return base::RefusedFor(
        path, "leads to " + RealOf(path) + " now, and did not when it was copied",
        "put the file itself there, or say --follow-links if that is what you want");
}

base::Result<std::vector<Backups::Placing>> Backups::PlanRestore(const Backup& backup) {
    std::optional<MailPlaces> mails;
    std::vector<Placing> plan;
    for (const BackupFile& file : backup.files) {
        const std::string folder = base::ParentFolder(m_files, file.path);
        if (!m_files.Exists(folder)) {
            return base::RefusedFor(folder, "the folder is gone",
                                    "bring it back, or take the files out of " + PathOf(backup.id));
        }
        auto source = SourceOf(backup, file);
        if (!source) return source.Error();
        Placing placing{file, *std::move(source), file.path, {}};
        if (file.kind == Kind::kGrowing) placing.length = file.size;
        if (file.kind == Kind::kMail) {
            if (!mails) mails.emplace(m_files, m_clock, backup.sides.folder);
            placing.target = mails->Of(file, RememberedName(m_files, file));
        }
        if (!file.IsEudoras() && AreSame(m_files, placing.source, placing.target)) continue;
        plan.push_back(std::move(placing));
    }
    return plan;
}

base::Result<Restored> Backups::Restore(const std::string& id, const Wanted& wanted,
                                        const Ready& ready) {
    auto backup = Find(id, wanted.eudoraFolder);
    if (!backup) return backup.Error();
    if (auto chosen = Choose(*backup, wanted); !chosen) return chosen.Error();
    auto plan = PlanRestore(*backup);
    if (!plan) return plan.Error();
    Restored restored;
    std::vector<Origin> present;
    for (const std::string& path : backup->absent) {
        if (auto fits = CheckPlace(m_files, path); !fits) return fits.Error();
        if (m_files.IsFree(path)) continue;
        restored.removed.push_back(path);
        present.emplace_back(path);
    }
    for (const Placing& placing : *plan) {
        if (auto fits = CheckPlacing(placing, wanted); !fits) return fits.Error();
        const bool isEudoras = placing.file.IsEudoras();
        if (isEudoras || !m_files.IsFree(placing.target)) {
            present.emplace_back(placing.target, isEudoras ? Kind::kEudora : placing.file.kind);
        }
        restored.placed.push_back(placing.file);
        restored.placed.back().path = placing.target;
    }
    if (!present.empty()) {
        auto before = Make(present, "before the restore of " + id, backup->sides);
        if (!before) return before.Error();
        restored.before = before->id;
    }
    // A fault before the first file takes its place leaves all as they are.
    std::list<platform::SafeWrite> writes;
    for (const Placing& placing : *plan) {
        auto& write = writes.emplace_back(m_files, placing.target, placing.Side(m_files));
        auto staged = write.BeginAsCopyOf(placing.source, placing.length);
        if (!staged) return staged.Error();
    }
    if (auto begun = ready ? ready(*backup, restored) : base::Status(); !begun) {
        return begun.Error();
    }
    for (auto& write : writes) {
        if (auto placed = write.Commit(); !placed) return placed.Error();
    }
    for (const std::string& path : restored.removed) {
        auto gone = m_files.Delete(path);
        if (!gone && gone.Error().code != ErrorCode::kNotFound) return gone.Error();
    }
    return restored;
}

}  // namespace host::backup
