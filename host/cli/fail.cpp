#include <algorithm>
#include <iostream>

#include "host/cli/commands.h"
#include "host/cli/terminal_text.h"

namespace host {

ExitCode Fail(const platform::Failure& failure) {
    std::string line = failure.Message();
    std::ranges::replace(line, '\n', ' ');
    std::ranges::replace(line, '\r', ' ');
    std::cerr << "kvsync: " << Visible(line) << '\n';
    return CodeOf(failure);
}

}  // namespace host
