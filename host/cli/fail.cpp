#include "host/cli/commands.h"
#include "host/output/output.h"

namespace host {

ExitCode Fail(const platform::Failure& failure) {
    PrintError(failure.Message());
    return CodeOf(failure);
}

}  // namespace host
