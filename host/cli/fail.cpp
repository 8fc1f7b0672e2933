#include "host/base/output.h"
#include "host/cli/commands.h"

namespace host::cli {

base::ExitCode Fail(const base::Failure& failure) {
    base::PrintError(failure.Message());
    return failure.exit;
}

}  // namespace host::cli
