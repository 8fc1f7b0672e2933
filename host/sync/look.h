#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"
#include "platform/os/files.h"

namespace host::sync {

// A fingerprint of all that decides what a run would do. As long as it stays, a run that found
// nothing to do need not be repeated. It is taken before the sides are read, so that what changes
// meanwhile changes it. Paths are native, in UTF-8.
class Look {
  public:
    explicit Look(platform::Files& files) : m_files(files) {}

    void Add(std::string_view text);
    // The bytes of a file; a missing one counts as one without any.
    void AddContent(const std::string& path);
    // The size and time of a file alone.
    void AddStamp(const std::string& path);

    // Empty if something could not be looked at.
    const std::string& Print() const { return m_print; }

  private:
    platform::Files& m_files;
    std::string m_print = "1";  // other rules need another beginning
};

// Runs that find nothing to do: the second one and all after it read neither side. Only usual runs
// can be, whose memory is current: none that looks only, settles one conflict or goes one way.
class IdleRuns {
  public:
    // `look` gives the print of both sides as they are now, before they are read. `memory` outlives
    // the object.
    IdleRuns(const Options& options, state::SidesMemory& memory,
             const std::function<std::string()>& look);

    // What the run reports, if there is nothing to do.
    std::optional<Report> Known() const { return m_report; }
    // Keeps the report of a run that found nothing to do.
    void Keep(const Report& report) const;

  private:
    state::SidesMemory& m_memory;
    std::string m_print;
    std::optional<Report> m_report;
};

}  // namespace host::sync
