#include <exception>
#include <new>

#include "host/cli/application.h"
#include "host/output/output.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

int main(int argc, char** argv) {
    platform::UseBinaryStreams();
    platform::KeepNewFilesPrivate();
    try {
        const auto code = host::RunApplication(platform::ProgramArguments(argc, argv));
        if (host::OutputIsWhole()) return static_cast<int>(code);
        host::PrintError("not all of the output could be written: look whether the disk is full");
    } catch (const std::bad_alloc&) {
        host::PrintError(
            "there is not enough memory: close other programs, or raise the limit (ulimit -v)");
    } catch (const std::exception& error) {
        host::PrintError(error.what());
    }
    return static_cast<int>(host::ExitCode::kFailed);
}
