#include "host/state/cut_off_state.h"

#include <SQLiteCpp/Backup.h>

namespace host::state {

namespace {

std::string JournalOf(const std::string& path) {
    return path + "-journal";
}

// A copy of a state file with its journal in the folder for temporary files.
class TemporaryCopy {
  public:
    explicit TemporaryCopy(platform::Files& files) : m_files(files) {}
    ~TemporaryCopy() {
        if (m_path.empty()) return;
        (void)m_files.Delete(m_path);
        (void)m_files.Delete(JournalOf(m_path));
    }
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;

    platform::Status Make(const std::string& original) {
        const auto folder = m_files.TempFolder();
        if (!folder) return folder.Error();
        auto path = m_files.CreateTempFile(*folder, "kvs");
        if (!path) return path.Error();
        m_path = *std::move(path);
        if (auto status = platform::CopyInto(m_files, original, m_path); !status) return status;
        return m_files.Copy(JournalOf(original), JournalOf(m_path));
    }
    const std::string& Path() const { return m_path; }

  private:
    platform::Files& m_files;
    std::string m_path;
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
