#include "host/state/state_file.h"

#include <algorithm>
#include <filesystem>
#include <thread>

#include "host/base/paths.h"
#include "host/base/uuid.h"
#include "host/state/rows.h"
#include "host/state/state_database.h"

namespace host::state {

namespace {

// What tells two names of one thing: its real path, or the name if there is none.
std::string Identity(platform::Files& files, const std::string& path) {
    const auto real = files.RealPath(path);
    return real ? *real : path;
}

// The scopes of rows whose first line names Eudora's side.
std::vector<std::string> ScopesOf(platform::Files& files, SQLite::Database& database,
                                  const std::string& eudora) {
    std::vector<std::string> scopes = Scopes(database);
    std::erase_if(scopes, [&](const std::string& scope) {
        return Identity(files, scope.substr(0, scope.find('\n'))) != eudora;
    });
    return scopes;
}

// Whether the folder holds most of the files that are remembered in that scope.
bool HoldsRemembered(platform::Files& files, const std::string& folder, SQLite::Database& database,
                     const std::string& scope) {
    Remembered remembered;
    Load(database, scope, remembered);
    const auto there = std::ranges::count_if(remembered.pairs, [&](const RememberedPair& pair) {
        return files.Exists(folder + files.Separator() + pair.folder.item.id);
    });
    return 2 * there > std::ssize(remembered.pairs);
}

// Repeats `take` until it is not refused for another run, at most so long.
template <class Take>
auto Waiting(std::chrono::seconds most, const Take& take) -> decltype(take()) {
    const auto end = std::chrono::steady_clock::now() + most;
    while (true) {
        auto taken = take();
        if (taken || taken.Error().exit != base::ExitCode::kRefused ||
            std::chrono::steady_clock::now() >= end) {
            return taken;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

// What Open holds of the two sides beside the database.
struct Locks {
    Lock state;
    std::optional<Lock> eudora;
    FolderMark folder;
};

base::Result<Locks> TakeLocks(platform::Files& files, const std::string& path, const Sides& sides,
                              bool mayWrite) {
    auto state = LockState(files, path, mayWrite);
    if (!state) return state.Error();
    std::optional<Lock> eudora;
    if (!sides.eudoraLock.empty()) {
        auto taken = Lock::Take(files, sides.eudoraLock, mayWrite);
        if (!taken) return taken.Error();
        eudora.emplace(*std::move(taken));
    }
    auto folder = FolderMark::Take(files, sides.folder, mayWrite);
    if (!folder) return folder.Error();
    return Locks{*std::move(state), std::move(eudora), *std::move(folder)};
}

// The memory of two sides. Without a database there is no file and nothing remembered.
template <class Content, class Change>
class Scope : public Memory<Content, Change> {
  public:
    using Opened = base::Result<std::unique_ptr<Memory<Content, Change>>>;

    static Opened Open(platform::Files& files, const std::string& path, const Sides& sides,
                       bool mayWrite) {
        if (mayWrite) {
            for (const std::string* file : {&path, &sides.eudoraLock}) {
                auto made = base::MakeFolders(files, base::ParentFolder(files, *file));
                if (!made) return made.Error();
            }
        }
        auto locks = Waiting(sides.wait, [&] { return TakeLocks(files, path, sides, mayWrite); });
        if (!locks) return locks.Error();
        auto database = OpenStateDatabase(files, path, mayWrite);
        if (!database) return database.Error();
        auto scope = std::make_unique<Scope>(files, *std::move(locks), path, sides);
        scope->m_database = *std::move(database);
        auto found = ExplainingFaults(path, [&] { return scope->Find(); });
        if (!found) return found.Error();
        return Opened(std::move(scope));
    }
    Scope(platform::Files& files, Locks locks, std::string path, const Sides& sides)
        : m_files(files), m_locks(std::move(locks)), m_path(std::move(path)), m_sides(sides) {
        m_known.eudora = Identity(files, sides.eudora);
    }

    base::Result<Content> Load() override {
        return ExplainingFaults(m_path, [&]() -> base::Result<Content> {
            Content content;
            if (m_database == nullptr) return content;
            if (auto whole = CheckWhole(*m_database, m_path); !whole) return whole.Error();
            state::Load(*m_database, m_known.memory, content);
            return content;
        });
    }
    using Memory<Content, Change>::Save;
    base::Status Save(Change& change) override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            state::Save(database, m_known.memory, change);
        });
    }

    unsigned CodePage() const override { return m_known.codePage; }
    bool IsCurrent() const override { return m_known == Present(); }
    base::Status Begin(Change change) override {
        KnownFolder present = Present();
        if (present.mark != m_locks.folder.Id()) {
            auto marked = m_locks.folder.Set(present.mark);
            // From a folder that nobody may write a sync can still read.
            if (!marked && marked.Error().code != platform::ErrorCode::kAccessDenied) return marked;
            if (!marked) present.mark.clear();
        }
        auto saved = InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            present.key = SaveFolder(database, present);
            state::Save(database, present.memory, change);
        });
        if (saved) m_known = std::move(present);
        return saved;
    }
    std::string IdleReport(const std::string& look) override {
        if (m_database == nullptr) return {};
        const auto read = [&]() -> base::Result<std::string> {
            return state::IdleReport(*m_database, m_known.memory, look);
        };
        return ExplainingFaults(m_path, read).ValueOr({});
    }
    base::Status KeepIdleReport(const std::string& look, const std::string& report) override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            state::KeepIdleReport(database, m_known.memory, look, report);
        });
    }
    base::Status Forget() override {
        return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
            ForgetScope(database, m_known.memory);
            ForgetFolder(database, m_known.key);
        });
    }

  private:
    // The row that the folder has once the run has begun.
    KnownFolder Present() const {
        KnownFolder present = m_known;
        present.path = m_sides.folder;
        present.mark = m_mark;
        present.codePage = m_sides.codePage;
        return present;
    }

    bool IsHere(const std::string& path) const {
        return Identity(m_files, path) == Identity(m_files, m_sides.folder);
    }
    bool IsEmptyFolder() const {
        const auto entries = m_files.List(m_sides.folder, "*");
        return !entries || std::ranges::all_of(*entries, [&](const platform::FolderEntry& entry) {
            const auto below = m_files.List(m_sides.folder + m_files.Separator() + entry.name, "*");
            return entry.isFolder && below && below->empty();
        });
    }

    // Finds what is remembered of the two sides, or begins a memory for them. kRefused if the
    // folder is kept in step with another file of Eudora's, which is there: two would be mixed in
    // it.
    base::Status Find() {
        m_mark = m_locks.folder.Id();
        std::vector<KnownFolder> known, sameMark;
        if (m_database != nullptr) known = LoadFolders(*m_database);
        std::string other;
        for (const KnownFolder& one : known) {
            if (m_mark.empty() || one.mark != m_mark) continue;
            if (one.eudora != m_known.eudora && m_files.Exists(one.eudora)) other = one.eudora;
            sameMark.push_back(one);
        }
        std::erase_if(known, [&](const KnownFolder& one) { return one.eudora != m_known.eudora; });
        // A copy beside the original gets a mark of its own.
        const bool isCopy = std::ranges::any_of(sameMark, [&](const KnownFolder& one) {
            return !IsHere(one.path) && FolderMark::Of(m_files, one.path) == m_mark;
        });
        if (isCopy) m_mark.clear();
        const bool isMissing = m_locks.folder.Id().empty() && IsEmptyFolder();
        const auto found = std::ranges::find_if(known, [&](const KnownFolder& one) {
            if (!m_mark.empty()) return one.mark == m_mark;
            return !isCopy && IsHere(one.path) && (isMissing || one.mark.empty());
        });
        if (found != known.end()) {
            m_known = *found;
        } else if (!isCopy && !other.empty()) {
            return base::RefusedFor(m_sides.folder, "is kept in step with " + other + " already",
                                    "name another folder, or let kvsync forget that one first");
        } else if (m_locks.folder.Id().empty()) {
            Adopt(known);
        }
        if (m_mark.empty()) m_mark = m_known.mark.empty() ? base::NewUuid() : m_known.mark;
        if (m_known.memory.empty()) m_known.memory = m_known.eudora + '\n' + m_mark;
        return {};
    }

    // A memory of an earlier version, which knew folders by the text on the command line, becomes
    // that of this folder.
    void Adopt(const std::vector<KnownFolder>& known) {
        if (m_database == nullptr) return;
        for (std::string& scope : ScopesOf(m_files, *m_database, m_known.eudora)) {
            if (std::ranges::count(known, scope, &KnownFolder::memory) > 0) continue;
            const std::string named = scope.substr(scope.find('\n') + 1);
            const bool isRelative = base::ToPath(named).is_relative();
            const bool isIt = isRelative
                                  ? HoldsRemembered(m_files, m_sides.folder, *m_database, scope)
                                  : IsHere(named) || named == m_sides.folderAsNamed;
            if (!isIt) continue;
            m_known.memory = std::move(scope);
            return;
        }
    }

    platform::Files& m_files;
    Locks m_locks;
    std::unique_ptr<SQLite::Database> m_database;
    std::string m_path;
    Sides m_sides;
    KnownFolder m_known;  // as it is remembered; without key and memory if it is not
    std::string m_mark;   // that the folder has or will get
};

// Changes, in one step, all that is remembered of Eudora's side. A missing file is no failure.
template <class Work>
base::Status ForEachScopeOf(platform::Files& files, const std::string& path,
                            const std::string& eudora, const Work& work) {
    if (!files.Exists(path)) return {};
    auto database = OpenStateDatabase(files, path, true);
    if (!database) return database.Error();
    auto whole = ExplainingFaults(path, [&] { return CheckWhole(**database, path); });
    if (!whole) return whole;
    return InTransaction(database->get(), path, [&](SQLite::Database& opened) {
        for (const auto& scope : ScopesOf(files, opened, Identity(files, eudora))) {
            work(opened, scope);
        }
    });
}

}  // namespace

base::Result<Lock> LockState(platform::Files& files, const std::string& stateFile, bool mayWrite) {
    return Lock::Take(files, stateFile + ".lock", mayWrite);
}

base::Result<std::unique_ptr<PairMemory>> OpenPairs(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite) {
    return Scope<Remembered, MemoryChange>::Open(files, path, sides, mayWrite);
}

base::Result<std::unique_ptr<MailMemory>> OpenMails(platform::Files& files, const std::string& path,
                                                    const Sides& sides, bool mayWrite) {
    return Scope<std::vector<RememberedMail>, MailMemoryChange>::Open(files, path, sides, mayWrite);
}

base::Status ForgetEudora(platform::Files& files, const std::string& path,
                          const std::string& eudora) {
    return ForEachScopeOf(files, path, eudora, [](SQLite::Database& database, const auto& scope) {
        ForgetScope(database, scope);
    });
}

base::Status ForgetFiles(platform::Files& files, const std::string& path, const std::string& eudora,
                         const std::vector<std::string>& names) {
    return ForEachScopeOf(files, path, eudora, [&](SQLite::Database& database, const auto& scope) {
        state::ForgetFiles(database, scope, names);
    });
}

}  // namespace host::state
