#include "host/state/cut_off_state.h"

#include <SQLiteCpp/Backup.h>

namespace host::state {

namespace {

std::string JournalOf(const std::string& path) {
    return path + "-journal";
}

// A copy of a state file with its journal, in a folder of its own: SQLite looks for more files
// beside a database, and in the folder for temporary files anybody can have put some.
class TemporaryCopy {
  public:
    explicit TemporaryCopy(platform::Files& files) : m_files(files) {}
    ~TemporaryCopy() {
        if (m_folder.empty()) return;
        (void)m_files.Delete(Path());
        (void)m_files.Delete(JournalOf(Path()));
        (void)m_files.RemoveFolder(m_folder);
    }
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;

    platform::Status Make(const std::string& original) {
        const auto temp = m_files.TempFolder();
        if (!temp) return temp.Error();
        auto folder = m_files.CreateTempFolder(*temp, "kvsync-");
        if (!folder) return folder.Error();
        m_folder = *std::move(folder);
        auto made = m_files.Open(Path(), platform::OpenMode::kCreateNew, platform::Share::kNone);
        if (!made) return made.Error();
        made->reset();
        if (auto status = platform::CopyInto(m_files, original, Path()); !status) return status;
        return m_files.Copy(JournalOf(original), JournalOf(Path()));
    }
    std::string Path() const { return m_folder + m_files.Separator() + "state.db"; }

  private:
    platform::Files& m_files;
    std::string m_folder;
};

}  // namespace

bool IsCutOff(platform::Files& files, const std::string& path) {
    return files.Exists(JournalOf(path));
}

platform::Result<std::unique_ptr<SQLite::Database>> ReadCutOffState(platform::Files& files,
                                                                    const std::string& path) {
    TemporaryCopy copy(files);
    if (auto status = copy.Make(path); !status) return status.Error();
    // The first look at the content makes SQLite undo what was cut off.
    SQLite::Database source(copy.Path(), SQLite::OPEN_READWRITE);
    if (source.execAndGet("PRAGMA page_count").getInt() == 0) {
        return std::unique_ptr<SQLite::Database>();
    }
    auto memory = std::make_unique<SQLite::Database>(":memory:",
                                                     SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    SQLite::Backup(*memory, source).executeStep();
    return memory;
}

}  // namespace host::state
