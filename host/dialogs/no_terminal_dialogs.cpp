#include "host/dialogs/terminal_dialogs.h"

namespace host {

std::unique_ptr<platform::Dialogs> MakeTerminalDialogs() {
    return nullptr;
}

}  // namespace host
