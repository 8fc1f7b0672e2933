#pragma once

#include <string>

#include "host/eudora/setup.h"

namespace host::eudora {

// Which nickname file to work on, as a Windows path: the one that the options name, else the one
// that `configure` chose, else nndbase.txt of Eudora's folder if there is one, else none ("": the
// module's own choice). kRefused if a named one cannot be a nickname file.
base::Result<std::string> ChooseNicknameFile(const SetupOptions& options, const Setup& setup);

// Keeps the choice for the next runs on this Eudora.
base::Status RememberNicknameFile(const Setup& setup, const std::string& windowsPath);

// kRefused, with the way out, if there is no such file, it cannot be read (or written, if that is
// wanted), or is too large for a nickname file.
base::Status CheckNicknameFile(const std::string& windowsPath, bool forWriting);

}  // namespace host::eudora
