#include "host/cli/application.h"
#include "platform/os/program.h"

int main(int argc, char** argv) {
    platform::UseBinaryStreams();
    return static_cast<int>(host::RunApplication(platform::ProgramArguments(argc, argv)));
}
