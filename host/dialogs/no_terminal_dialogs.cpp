#include "host/dialogs/terminal_dialogs.h"

namespace host::dialogs {

std::unique_ptr<platform::Dialogs> MakeTerminalDialogs() {
    return nullptr;
}

}  // namespace host::dialogs
