#pragma once

#include <string>

#include "host/cli/options.h"
#include "host/engine/commands.h"

namespace host {

// Prints a report as the options want it and gives its code.
ExitCode Say(const Report& report, const Options& options);

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
platform::Result<CommandPlace> PlaceOf(const Options& options, ProgressLine& progress);

}  // namespace host
