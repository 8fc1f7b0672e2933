#include "host/cli/run_place.h"

#include "host/module/native_path.h"
#include "host/module/setup.h"
#include "host/output/output.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host {

ExitCode Say(const Report& report, const Options& options) {
    if (options.json) {
        PrintLine(report.json);
    } else {
        for (const std::string& line : report.lines) PrintLine(line);
    }
    for (const std::string& line : report.errors) PrintError(line);
    return report.code;
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    ShowProgress(line);
    m_shown = line;
}

platform::Result<CommandPlace> PlaceOf(const Options& options, ProgressLine& progress) {
    std::string state;
    if (options.state) {
        state = *options.state;
    } else {
        auto folder = StateFolder();
        if (!folder) return folder.Error();
        state = FromPath(ToPath(*folder) / "state.db");
    }
    return CommandPlace{platform::NativeFiles(), platform::NativeSystem().clock, state,
                        [&progress](const std::string& line) { progress.Show(line); }};
}

}  // namespace host
