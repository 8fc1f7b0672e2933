#include <iostream>

#include "host/shell/line_source.h"

namespace host::shell {

LineSource LinesOfTerminal() {
    return LinesOf(std::cin);
}

}  // namespace host::shell
