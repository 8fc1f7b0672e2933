#include "host/backup/backups.h"

#include <algorithm>
#include <list>
#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "platform/os/safe_write.h"
#include "text/calendar.h"

namespace host::backup {

namespace {

using platform::ErrorCode;

constexpr const char* kManifest = "backup.json";
constexpr std::uint64_t kLargestManifest = 1u << 20;

std::string TimeName(std::chrono::system_clock::time_point now) {
    return text::Format("%Y%m%d-%H%M%S", text::CivilTime(now));
}

bool IsId(std::string_view name) {
    return name.size() >= 15 && name[8] == '-' &&
           name.find_first_not_of("0123456789-") == std::string_view::npos;
}

std::string Megabytes(std::uint64_t bytes) {
    return std::to_string((bytes + 999'999) / 1'000'000) + " MB";
}

std::string ToManifest(const Backup& backup) {
    nlohmann::json manifest = {{"reason", backup.reason}, {"absent", backup.absent}};
    manifest["files"] = nlohmann::json::array();
    for (const BackupFile& file : backup.files) {
        manifest["files"].push_back({{"name", file.name}, {"origin", file.origin}});
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
                        const std::vector<std::string>& origins) {
    std::uint64_t needed = 0;
    for (const std::string& origin : origins) {
        if (const auto info = files.Stat(origin)) needed += info->copySize;
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

}  // namespace

base::Result<std::vector<std::string>> FilesOfBook(platform::Files& files,
                                                   const std::string& nicknameFile) {
    std::vector<std::string> paths = {nicknameFile};
    const std::string folder = base::ParentFolder(files, nicknameFile);
    const std::string name = NameOf(files, nicknameFile);
    const std::string pattern = name.substr(0, name.rfind('.')) + ".toc";
    const auto sideFiles = files.List(folder.empty() ? "." : folder, pattern);
    if (!sideFiles) return sideFiles.Error();
    for (const platform::FolderEntry& entry : *sideFiles) {
        if (!entry.isFolder) paths.push_back(Join(files, folder, entry.name));
    }
    if (paths.size() == 1) paths.push_back(Join(files, folder, pattern));
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

base::Result<Backup> Backups::Make(const std::vector<std::string>& origins,
                                   const std::string& reason) {
    if (auto status = base::MakeFolders(m_files, m_folder); !status) return status.Error();
    const auto lock = m_files.Open(PathOf("lock"), platform::OpenMode::kReadWriteOrCreate,
                                   platform::Share::kNone);
    if (!lock) return lock.Error();
    RemoveLeftovers();
    if (auto enough = CheckSpace(m_files, m_folder, origins); !enough) return enough.Error();
    auto id = NewFolder();
    if (!id) return id.Error();
    Backup backup{*id, reason, {}, {}, {}};
    if (auto status = Fill(backup, origins); !status) {
        Discard(*id);
        return status.Error();
    }
    return backup;
}

base::Status Backups::Fill(Backup& backup, const std::vector<std::string>& origins) {
    for (const std::string& origin : origins) {
        auto info = m_files.Stat(origin);
        const auto missing = info ? ErrorCode::kNotFound : info.Error().code;
        if (missing != ErrorCode::kNotFound && missing != ErrorCode::kNotRegular) {
            return info.Error();
        }
        if (!info) {
            (m_files.IsFree(origin) ? backup.absent : backup.passedOver).push_back(origin);
            continue;
        }
        std::string name = NameOf(m_files, origin);
        if (m_files.Exists(PathOf(backup.id, name)))
            name.insert(0, std::to_string(backup.files.size()));
        auto status = platform::CopyFlushed(m_files, origin, PathOf(backup.id, name));
        if (status) {
            backup.files.push_back({name, origin});
        } else if (status.Error().code == ErrorCode::kNotRegular) {
            backup.passedOver.push_back(origin);
        } else {
            return status;
        }
    }
    // The manifest comes last: with it the backup counts.
    return platform::WriteWhole(m_files, PathOf(backup.id, kManifest), ToManifest(backup));
}

base::Result<Backup> Backups::ReadManifest(const std::string& id) {
    const std::string path = PathOf(id, kManifest);
    auto text = platform::ReadWhole(m_files, path, kLargestManifest);
    if (!text) return text.Error();
    try {
        const auto manifest = nlohmann::json::parse(*text);
        Backup backup{id, manifest.at("reason"), {}, manifest.at("absent"), {}};
        for (const auto& file : manifest.at("files")) {
            backup.files.push_back({file.at("name"), file.at("origin")});
        }
        return backup;
    } catch (const nlohmann::json::exception&) {
        return platform::Failure{ErrorCode::kCorrupt, path};
    }
}

base::Result<std::vector<Backup>> Backups::List() {
    std::vector<Backup> backups;
    if (!m_files.Exists(m_folder)) return backups;
    auto entries = m_files.List(m_folder, "*");
    if (!entries) return entries.Error();
    for (const platform::FolderEntry& entry : *entries) {
        auto backup = ReadManifest(entry.name);
        if (backup) backups.push_back(*std::move(backup));
    }
    std::ranges::sort(backups, {}, &Backup::id);
    return backups;
}

base::Status Backups::Prune() {
    constexpr std::size_t kNewest = 10;
    const std::string oldest = TimeName(m_clock.Now() - std::chrono::days(30));
    auto backups = List();
    if (!backups) return backups.Error();
    for (std::size_t i = 0; i + kNewest < backups->size(); ++i) {
        const std::string& id = (*backups)[i].id;
        if (id < oldest) Discard(id);
    }
    return {};
}

base::Result<Backup> Backups::Restore(const std::string& id,
                                      const std::function<base::Status(const Backup&)>& ready) {
    const bool isName = id.find_first_of("/\\:") == std::string::npos && !id.starts_with('.');
    auto backup = isName ? ReadManifest(id) : platform::Failure{ErrorCode::kNotFound, id};
    if (!backup && backup.Error().code == ErrorCode::kNotFound) {
        return base::Refused("there is no backup " + id + "; `kvsync backups` lists them");
    }
    if (!backup) return backup.Error();
    std::vector<std::string> origins = backup->absent;
    for (const BackupFile& file : backup->files) origins.push_back(file.origin);
    for (const std::string& path : origins) {
        if (auto fits = CheckPlace(m_files, path); !fits) return fits.Error();
    }
    auto present = Make(origins, "before the restore of " + id);
    if (!present) return present.Error();
    // A fault before the first file takes its place leaves all as they are.
    std::list<platform::SafeWrite> writes;
    for (const BackupFile& file : backup->files) {
        auto& write = writes.emplace_back(m_files, file.origin);
        auto staged = write.BeginAsCopyOf(PathOf(id, file.name));
        if (!staged) return staged.Error();
    }
    if (auto begun = ready ? ready(*backup) : base::Status(); !begun) return begun.Error();
    for (auto& write : writes) {
        if (auto placed = write.Commit(); !placed) return placed.Error();
    }
    for (const std::string& path : backup->absent) {
        auto gone = m_files.Delete(path);
        if (!gone && gone.Error().code != ErrorCode::kNotFound) return gone.Error();
    }
    return present;
}

}  // namespace host::backup
