#include "host/sync/look.h"

#include <limits>

#include "platform/os/safe_write.h"
#include "text/fingerprint.h"

namespace host::sync {

void Look::Add(std::string_view text) {
    const std::string size = std::to_string(text.size()) + ':';
    const std::string_view pieces[] = {m_print, size, text};
    if (!m_print.empty()) m_print = text::Fingerprint(pieces);
}

void Look::AddContent(const std::string& path) {
    const auto bytes = platform::ReadWhole(m_files, path, std::numeric_limits<std::uint64_t>::max(),
                                           platform::Share::kReadWrite);
    if (bytes || m_files.IsFree(path)) {
        Add(bytes ? *bytes : "");
    } else {
        m_print.clear();
    }
}

void Look::AddStamp(const std::string& path) {
    const auto info = m_files.Stat(path);
    if (!info) return m_print.clear();
    Add(std::to_string(info->size) + ' ' +
        std::to_string(info->modified.time_since_epoch().count()));
}

IdleRuns::IdleRuns(const Options& options, state::SidesMemory& memory,
                   const std::function<std::string()>& look)
    : m_memory(memory) {
    const bool isUsual = !options.dryRun && !options.resolve && !options.refetch &&
                         options.direction == Direction::kBoth;
    if (isUsual && memory.IsCurrent()) m_print = look();
    if (!m_print.empty()) m_report = IdleReport(memory.IdleReport(m_print));
}

// Without it the next run reads both sides again.
void IdleRuns::Keep(const Report& report) const {
    if (!m_print.empty() && report.IsIdle()) {
        (void)m_memory.KeepIdleReport(m_print, IdleBytes(report));
    }
}

}  // namespace host::sync
