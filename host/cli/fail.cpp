#include "host/base/output.h"
#include "host/cli/commands.h"

namespace host::cli {

base::ExitCode Fail(const platform::Failure& failure) {
    base::PrintError(failure.Message());
    return base::CodeOf(failure);
}

}  // namespace host::cli
