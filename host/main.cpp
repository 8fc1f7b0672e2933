#include <exception>
#include <new>

#include "host/base/output.h"
#include "host/cli/application.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

int main(int argc, char** argv) {
    platform::UseBinaryStreams();
    platform::KeepNewFilesPrivate();
    try {
        const auto code = host::cli::RunApplication(platform::ProgramArguments(argc, argv));
        if (host::base::OutputIsWhole()) return static_cast<int>(code);
        host::base::PrintError(
            "not all of the output could be written: look whether the disk is full");
    } catch (const std::bad_alloc&) {
        host::base::PrintError(
            "there is not enough memory: close other programs, or raise the limit (ulimit -v)");
    } catch (const std::exception& error) {
        host::base::PrintError(error.what());
    }
    return static_cast<int>(host::base::ExitCode::kFailed);
}
