#include <new>

#include "host/cli/application.h"
#include "host/output/output.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

int main(int argc, char** argv) {
    platform::UseBinaryStreams();
    platform::KeepNewFilesPrivate();
    try {
        return static_cast<int>(host::RunApplication(platform::ProgramArguments(argc, argv)));
    } catch (const std::bad_alloc&) {
        host::PrintError(
            "there is not enough memory: close other programs, or raise the limit (ulimit -v)");
        return static_cast<int>(host::ExitCode::kFailed);
    }
}
