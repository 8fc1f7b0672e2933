#pragma once

#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::mailsync {

// kRefused, with the way out, if the folder cannot be a Maildir: it is a file, may not be written,
// holds other things, or lies in Eudora's folder. One that does not exist is in order. Paths are
// native, without links.
base::Status CheckMaildir(platform::Files& files, const std::string& maildir,
                          const std::string& eudoraFolder);

}  // namespace host::mailsync
