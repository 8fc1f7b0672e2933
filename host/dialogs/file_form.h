#pragma once

#include <optional>
#include <string>

#include "platform/os/dialogs.h"

namespace host::dialogs {

// An open-file dialog in the terminal: the path to type, and below it the matching files of the
// folder that the request begins in and of its subfolders. Texts are in the system code page.
std::optional<std::string> RunFileForm(const platform::OpenFileRequest& request);

}  // namespace host::dialogs
