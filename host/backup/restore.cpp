#include "host/backup/restore.h"

#include <list>
#include <unordered_map>

#include "host/base/paths.h"
#include "host/maildir/maildir.h"
#include "host/vcard/card.h"
#include "platform/os/safe_write.h"
#include "text/ascii.h"

namespace host::backup {

namespace {

using platform::ErrorCode;

constexpr std::uint64_t kLargestCard = 64u << 20;

// Whether a file can take that place, before any does.
base::Status CheckPlace(platform::Files& files, const std::string& path) {
    if (files.IsFree(path)) return {};
    if (files.IsReadOnly(path)) return base::RefusedFor(path, "is read-only", "make it writable");
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
    const std::string name = text::Lowered(base::FileName(files, path));
    const std::string folder =
        text::Lowered(base::FileName(files, base::ParentFolder(files, path)));
    const bool hasEnd = name.ends_with(".mbx") || name.ends_with(".toc");
    const std::string box = hasEnd ? name.substr(0, name.size() - 4) : "";
    return folder != "nickname" && (box == "in" || box == "out" || box == "trash");
}

bool IsWanted(platform::Files& files, const Origin& origin, const std::string& only) {
    const bool isMail =
        origin.IsEudoras() ? IsMailbox(files, origin.path) : origin.kind == Kind::kMail;
    return only.empty() || isMail == (only == "mail");
}

bool AreSame(platform::Files& files, const std::string& one, const std::string& other) {
    constexpr auto kAny = std::numeric_limits<std::uint64_t>::max();
    const auto size = files.Stat(one), otherSize = files.Stat(other);
    if (!size || !otherSize || size->size != otherSize->size) return false;
    const auto bytes = platform::ReadWhole(files, one, kAny, platform::Share::kReadWrite);
    const auto others = platform::ReadWhole(files, other, kAny, platform::Share::kReadWrite);
    return bytes && others && *bytes == *others;
}

// Where the files of the other side are now, which programs rename.
class Places {
  public:
    Places(platform::Files& files, platform::Clock& clock, const std::string& maildir)
        : m_files(files), m_clock(clock), m_maildir(maildir) {}

    std::string Of(const BackupFile& file, const std::string& copy) {
        if (file.kind == Kind::kMail) return Found(Mails(), RememberedName(m_files, file), file);
        const std::string uid = file.kind == Kind::kCard ? UidOf(copy) : "";
        if (uid.empty() || UidOf(file.path) == uid) return file.path;
        return Found(CardsBeside(file.path), uid, file);
    }

  private:
    using Names = std::unordered_map<std::string, std::string>;

    static std::string Found(const Names& names, const std::string& key, const BackupFile& file) {
        const auto found = names.find(key);
        return found == names.end() ? file.path : found->second;
    }

    // By the part of their names that stays.
    const Names& Mails() {
        if (m_known.contains(m_maildir)) return m_known[m_maildir];
        maildir::Maildir mails(m_files, m_clock, m_maildir);
        const auto entries = mails.List();
        for (const auto& entry : entries ? *entries : std::vector<maildir::MaildirEntry>()) {
            m_known[m_maildir][entry.unique] = mails.PathOf(entry);
        }
        return m_known[m_maildir];
    }

    // By their UID.
    const Names& CardsBeside(const std::string& path) {
        const std::string folder = base::ParentFolder(m_files, path);
        if (m_known.contains(folder)) return m_known[folder];
        const auto entries = m_files.List(folder, "*.vcf");
        for (const auto& entry : entries ? *entries : std::vector<platform::FolderEntry>()) {
            const std::string card = base::PathIn(m_files, folder, entry.name);
            if (entry.name[0] != '.') m_known[folder].try_emplace(UidOf(card), card);
        }
        return m_known[folder];
    }

    std::string UidOf(const std::string& path) const {
        const auto bytes =
            platform::ReadWhole(m_files, path, kLargestCard, platform::Share::kReadWrite);
        vcard::Card card;
        return !bytes || card.Parse(*bytes) ? "" : std::string(card.Value("UID"));
    }

    platform::Files& m_files;
    platform::Clock& m_clock;
    std::string m_maildir;
    std::unordered_map<std::string, Names> m_known;  // of a folder
};

// What a restore does with one file.
struct Placing {
    BackupFile file;
    std::string source, target;
    std::optional<std::uint64_t> length;  // of the source's beginning that is meant

    // Programs that read vCards or mails pass the second one over.
    std::string Side(platform::Files& files) const {
        if (file.IsEudoras()) return target + ".kvnew";
        return base::PathIn(files, base::ParentFolder(files, target),
                            ".kvsync-" + base::FileName(files, target) + ".tmp");
    }
};

// The steps of a restore.
class Restorer {
  public:
    Restorer(platform::Files& files, platform::Clock& clock, Backups& backups)
        : m_files(files), m_clock(clock), m_backups(backups) {}

    base::Result<Restored> Restore(const std::string& id, const Wanted& wanted, const Ready& ready);

  private:
    bool BeginsAs(const std::string& path, const BackupFile& file) const;
    base::Status Choose(Backup& backup, const Wanted& wanted) const;
    base::Status CheckPlacing(const Placing& placing, const Wanted& wanted) const;
    base::Result<std::string> SourceOf(const Backup& backup, const BackupFile& file);
    base::Result<std::vector<Placing>> Plan(const Backup& backup);

    platform::Files& m_files;
    platform::Clock& m_clock;
    Backups& m_backups;
};

bool Restorer::BeginsAs(const std::string& path, const BackupFile& file) const {
    const auto info = m_files.Stat(path);
    if (!info || info->size < file.size) return false;
    const auto print = PrintOf(m_files, path, file.size);
    return print && *print == file.print;
}

// Where the bytes of a file are: in the backup; else, as it only grew, in its place, or in a backup
// that was made before it was written anew.
base::Result<std::string> Restorer::SourceOf(const Backup& backup, const BackupFile& file) {
    if (file.kind != Kind::kGrowing) return m_backups.PathOf(backup.id, file.name);
    if (BeginsAs(file.path, file)) return file.path;
    const auto later = m_backups.List();
    if (!later) return later.Error();
    for (const Backup& other : *later) {
        for (const BackupFile& copy : other.files) {
            const std::string path = m_backups.PathOf(other.id, copy.name);
            const bool isCopy = other.id > backup.id && copy.kind == Kind::kEudora;
            if (isCopy && copy.path == file.path && BeginsAs(path, file)) return path;
        }
    }
    return base::RefusedFor(
        file.path,
        "was removed or written anew after backup " + backup.id + ", which knows its length alone",
        "put back a backup that holds all of it (kvsync backups --show ID)");
}

base::Status Restorer::Choose(Backup& backup, const Wanted& wanted) const {
    const auto isUnwanted = [&](const Origin& origin) {
        return !IsWanted(m_files, origin, wanted.only);
    };
    std::erase_if(backup.files, isUnwanted);
    std::erase_if(backup.absent, isUnwanted);
    if (wanted.only.empty() || !backup.files.empty() || !backup.absent.empty()) return {};
    return base::Refused("backup " + backup.id + " holds no file of " + wanted.only,
                         "`kvsync backups --show " + backup.id + "` lists what it holds");
}

base::Status Restorer::CheckPlacing(const Placing& placing, const Wanted& wanted) const {
    const std::string& path = placing.target;
    const std::string& before = placing.file.real;
    const bool wasRenamed = placing.file.kind == Kind::kMail || path != placing.file.path;
    const bool isAsBefore =
        before.empty() || wasRenamed
            ? m_files.IsFree(path) ||
                  platform::LiesIn(m_files, path, base::ParentFolder(m_files, path))
            : RealOf(m_files, path) == before;
    if (isAsBefore || wanted.followLinks) return CheckPlace(m_files, path);
    return base::RefusedFor(
        path, "leads to " + RealOf(m_files, path) + " now, and did not when it was copied",
        "put the file itself there, or say --follow-links if that is what you want");
}

base::Result<std::vector<Placing>> Restorer::Plan(const Backup& backup) {
    Places places(m_files, m_clock, backup.sides.folder);
    std::vector<Placing> plan;
    for (const BackupFile& file : backup.files) {
        const std::string folder = base::ParentFolder(m_files, file.path);
        if (!m_files.Exists(folder)) {
            return base::RefusedFor(
                folder, "the folder is gone",
                "bring it back, or take the files out of " + m_backups.PathOf(backup.id));
        }
        auto source = SourceOf(backup, file);
        if (!source) return source.Error();
        Placing placing{file, *source, places.Of(file, *source), {}};
        if (file.kind == Kind::kGrowing) placing.length = file.size;
        if (!file.IsEudoras() && AreSame(m_files, placing.source, placing.target)) continue;
        plan.push_back(std::move(placing));
    }
    return plan;
}

base::Result<Restored> Restorer::Restore(const std::string& id, const Wanted& wanted,
                                         const Ready& ready) {
    auto backup = m_backups.Find(id, wanted.eudoraFolder);
    if (!backup) return backup.Error();
    if (auto chosen = Choose(*backup, wanted); !chosen) return chosen.Error();
    auto plan = Plan(*backup);
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
        auto before = m_backups.Make(present, "before the restore of " + id, backup->sides);
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

}  // namespace

base::Result<Restored> Restore(platform::Files& files, platform::Clock& clock, Backups& backups,
                               const std::string& id, const Wanted& wanted, const Ready& ready) {
    return Restorer(files, clock, backups).Restore(id, wanted, ready);
}

}  // namespace host::backup
