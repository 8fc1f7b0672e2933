#pragma once

#include <string>

#include "host/base/report.h"
#include "host/cli/options.h"
#include "host/sync/place.h"

namespace host::cli {

// Prints a report as the options want it and gives its code.
base::ExitCode Say(const base::Report& report, const Options& options);

// A line on the terminal that the next one replaces and that goes when the run is done.
class ProgressLine {
  public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine() { Show({}); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(const std::string& line);

  private:
    bool m_wanted;
    std::string m_shown;
};

// What the commands stand on; `progress` outlives it.
base::Result<sync::CommandPlace> PlaceOf(const Options& options, ProgressLine& progress);

}  // namespace host::cli
