#include "host/cli/run_place.h"

#include <iostream>

#include "host/cli/terminal_text.h"
#include "host/module/native_path.h"
#include "host/module/setup.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host {

ExitCode Say(const Report& report, const Options& options) {
    if (options.json) {
        std::cout << report.json << '\n';
    } else {
        for (const std::string& line : report.lines) std::cout << Visible(line) << '\n';
    }
    std::cout.flush();
    for (const std::string& line : report.errors) {
        std::cerr << "kvsync: " << Visible(line) << '\n';
    }
    return report.code;
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    std::cerr << '\r' << line << "\033[K" << std::flush;
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
