#pragma once

#include <memory>
#include <string>

#include "platform/os/system.h"
#include "platform/prefix/path_mapper.h"

namespace platform::prefix {

// The parts of PrefixSystem that have a file of their own. Their arguments outlive them; the caller
// owns them.

// The drives of a Wine prefix under Windows paths in the prefix's code page. Failures name the
// Windows path. Files whose names Windows could not hold are not listed; a character that the
// code page lacks is listed as "?". The registry says where the user's temporary folder is.
std::unique_ptr<Files> MakeFiles(const PathMapper& mapper, Registry& registry);

// The registry of a Wine prefix, in its files system.reg and user.reg, as a 32-bit program sees
// it: in a prefix of 64 bits the machine's Software keys are looked for under Wow6432Node first,
// and written there; Software\Classes is common to both. A file that somebody changed is read
// again. While Wine itself runs, it keeps its own copy and overwrites the files when it ends.
std::unique_ptr<Registry> MakeRegistry(const std::string& prefix, Files& native, unsigned codePage);

// Libraries for a native process that works on a Wine prefix. Load takes Windows paths, and native
// paths that begin with a slash, and loads shared objects. For any path that ends in EUMAPI32.DLL
// it loads the stand-in libEUMAPI32.so from `ownFolder`, the native folder of this library. A
// library of Windows code gives kNotSupported.
std::unique_ptr<Libraries> MakeLibraries(const PathMapper& mapper, std::string ownFolder);

// Everything that the module needs, for the Wine prefix in one folder (UTF-8, absolute). Programs
// of the prefix are never started and their windows not seen. Dialogs are the host's (see
// SetDialogSource); without it a message goes to standard error and every dialog counts as
// cancelled.
class PrefixSystem {
  public:
    explicit PrefixSystem(const std::string& prefix);

    const PathMapper paths;

  private:
    const std::unique_ptr<Registry> m_registry;
    const std::unique_ptr<Files> m_files;
    const std::unique_ptr<Libraries> m_libraries;
    const std::unique_ptr<Processes> m_processes;
    const std::unique_ptr<Windows> m_windows;
    const std::unique_ptr<Dialogs> m_dialogs;

  public:
    const System system;
};

}  // namespace platform::prefix
