#include <new>

#include "host/base/output.h"
#include "host/cli/application.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

int main(int argc, char** argv) {
    platform::UseBinaryStreams();
    platform::KeepNewFilesPrivate();
    try {
        return static_cast<int>(host::cli::RunApplication(platform::ProgramArguments(argc, argv)));
    } catch (const std::bad_alloc&) {
        host::base::PrintError(
            "there is not enough memory: close other programs, or raise the limit (ulimit -v)");
        return static_cast<int>(host::base::ExitCode::kFailed);
    }
}
