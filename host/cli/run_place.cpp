#include "host/cli/run_place.h"

#include "host/base/native_path.h"
#include "host/base/output.h"
#include "host/eudora/setup.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

base::ExitCode Say(const base::Report& report, const Options& options) {
    if (options.json) {
        base::PrintLine(report.json);
    } else {
        for (const std::string& line : report.lines) base::PrintLine(line);
    }
    for (const std::string& line : report.errors) base::PrintError(line);
    return report.code;
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    base::ShowProgress(line);
    m_shown = line;
}

base::Result<sync::CommandPlace> PlaceOf(const Options& options, ProgressLine& progress) {
    std::string state;
    if (options.state) {
        state = *options.state;
    } else {
        auto folder = eudora::StateFolder();
        if (!folder) return folder.Error();
        state = base::FromPath(base::ToPath(*folder) / "state.db");
    }
    return sync::CommandPlace{platform::NativeFiles(), platform::NativeSystem().clock, state,
                              [&progress](const std::string& line) { progress.Show(line); }};
}

}  // namespace host::cli
