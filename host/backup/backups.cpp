#include "host/backup/backups.h"

#include <algorithm>
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
nlohmann::json ToJson(const std::string& path) {
    if (text::IsUtf8(path)) return path;
    return std::vector<std::uint8_t>(path.begin(), path.end());
}

std::string FromJson(const nlohmann::json& json) {
    if (!json.is_array()) return json;
    const auto bytes = json.get<std::vector<std::uint8_t>>();
    return {bytes.begin(), bytes.end()};
}

std::string ToManifest(const Backup& backup) {
    nlohmann::json manifest = {{"reason", backup.reason},
                               {"eudoraFolder", ToJson(backup.sides.eudoraFolder)},
                               {"eudora", ToJson(backup.sides.eudora)},
                               {"folder", ToJson(backup.sides.folder)},
                               {"absent", nlohmann::json::array()},
                               {"files", nlohmann::json::array()}};
    for (const std::string& path : backup.absent) manifest["absent"].push_back(ToJson(path));
    for (const BackupFile& file : backup.files) {
        manifest["files"].push_back({{"name", ToJson(file.name)},
                                     {"origin", ToJson(file.path)},
                                     {"kind", file.kind},
                                     {"real", ToJson(file.real)},
                                     {"size", file.size},
                                     {"print", file.print}});
    }
    return base::JsonText(manifest, 2) + '\n';
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

}  // namespace

std::uint64_t Backup::CopiedBytes() const {
    std::uint64_t sum = 0;
    for (const BackupFile& file : files) sum += file.kind == Kind::kGrowing ? 0 : file.size;
    return sum;
}

std::string RememberedName(platform::Files& files, const BackupFile& file) {
    std::string name = base::FileName(files, file.path);
    return file.kind == Kind::kMail ? maildir::EntryNamed(std::move(name), false).unique : name;
}

std::string RealOf(platform::Files& files, const std::string& path) {
    if (auto real = files.RealPath(path)) return *real;
    const auto folder = files.RealPath(base::ParentFolder(files, path));
    return folder ? *folder + '/' + base::FileName(files, path) : std::string();
}

base::Result<std::string> PrintOf(platform::Files& files, const std::string& path,
                                  std::uint64_t end) {
    const auto file = files.Open(path, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    std::string bytes(std::min(end, kPrintedBytes), '\0');
    const auto count = (*file)->ReadAt(end - bytes.size(), bytes);
    if (!count) return count.Error();
    return text::Fingerprint(std::string_view(bytes).substr(0, *count));
}

std::string EudoraFolderOf(platform::Files& files, const Backup& backup) {
    if (!backup.sides.eudoraFolder.empty()) return backup.sides.eudoraFolder;
    const std::string first = !backup.files.empty()    ? backup.files[0].path
                              : !backup.absent.empty() ? backup.absent[0]
                                                       : "";
    const std::string folder = base::ParentFolder(files, first);
    return text::EqualNoCase(base::FileName(files, folder), "NickName")
               ? base::ParentFolder(files, folder)
               : folder;
}

base::Result<std::vector<Origin>> FilesOfBook(platform::Files& files,
                                              const std::string& nicknameFile) {
    std::vector<Origin> paths = {nicknameFile};
    const std::string folder = base::ParentFolder(files, nicknameFile);
    const std::string name = base::FileName(files, nicknameFile);
    const std::string pattern = name.substr(0, name.rfind('.')) + ".toc";
    const auto sideFiles = files.List(folder.empty() ? "." : folder, pattern);
    if (!sideFiles) return sideFiles.Error();
    for (const platform::FolderEntry& entry : *sideFiles) {
        if (!entry.isFolder) paths.emplace_back(base::PathIn(files, folder, entry.name));
    }
    if (paths.size() == 1) paths.emplace_back(base::PathIn(files, folder, pattern));
    return paths;
}

std::string Backups::PathOf(const std::string& id, const std::string& name) const {
    const std::string folder = base::PathIn(m_files, m_folder, id);
    return name.empty() ? folder : base::PathIn(m_files, folder, name);
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
    const std::string own = base::FileName(m_files, origin);
    std::string name = own;
    for (auto number = backup.files.size();
         name == kManifest || m_files.Exists(PathOf(backup.id, name)); ++number) {
        name = std::to_string(number) + own;
    }
    return name;
}

base::Status Backups::Keep(Backup& backup, const Origin& origin, std::uint64_t size) {
    BackupFile file{origin, {}, RealOf(m_files, origin.path), size, {}};
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
            return in.contains(key) ? FromJson(in.at(key)) : std::string();
        };
        Backup backup{id,
                      manifest.at("reason"),
                      Sides{told(manifest, "eudoraFolder"), told(manifest, "eudora"),
                            told(manifest, "folder")},
                      {},
                      {},
                      {}};
        for (const auto& absent : manifest.at("absent")) backup.absent.push_back(FromJson(absent));
        for (const auto& file : manifest.at("files")) {
            BackupFile read{{FromJson(file.at("origin")), file.value("kind", Kind::kEudora)},
                            FromJson(file.at("name")),
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

bool Backups::IsOf(const Backup& backup, const std::string& eudoraFolder) const {
    const std::string own = EudoraFolderOf(m_files, backup);
    return eudoraFolder.empty() || own == eudoraFolder ||
           RealOf(m_files, own) == RealOf(m_files, eudoraFolder);
}

}  // namespace host::backup
