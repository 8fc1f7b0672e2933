#pragma once

#include "platform/os/dialogs.h"

namespace host::dialogs {

// Shows a modal dialog in the terminal and gives the result of DialogView::End, or 2 if the
// terminal is gone. Texts of the dialog are in the system code page. The up and down keys change
// the number of an edit with a spin, Enter presses the default button unless another one has the
// focus, Esc and F12 cancel. A form higher than the screen scrolls.
int RunModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic);

}  // namespace host::dialogs
