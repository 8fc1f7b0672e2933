#pragma once

#include "platform/os/dialogs.h"

namespace host::dialogs {

// A modal dialog in the terminal; gives the result of DialogView::End, 2 if the terminal is gone.
// The up and down keys turn the number of an edit that has a spin, Enter is the default button
// unless another one has the focus, Esc and F12 are Cancel. A form that is higher than the screen
// scrolls.
int RunModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic);

}  // namespace host::dialogs
