#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

namespace host::eudora {

// What a person chose for this Eudora, for all runs on it: a file, as a Windows path. `what` names
// the choice in kvsync's own folder.

// "" if nothing was chosen, or the file is gone.
base::Result<std::string> Chosen(const Setup& setup, const char* what);
base::Status Choose(const Setup& setup, const char* what, const std::string& windowsPath);

}  // namespace host::eudora
