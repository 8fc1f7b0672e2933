#pragma once

#include <memory>
#include <string>

#include "platform/os/system.h"
#include "platform/prefix/path_mapper.h"

namespace platform::prefix {

// Everything that the module needs, for the Wine prefix in one folder (UTF-8, absolute). Programs
// of the prefix are never started and their windows not seen. Dialogs are the host's (see
// SetDialogSource); without it a message goes to standard error and every dialog counts as
// cancelled.
class PrefixSystem {
  public:
    explicit PrefixSystem(const std::string& prefix);
    ~PrefixSystem();

    const System& Get() const;
    const PathMapper& Paths() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

}  // namespace platform::prefix
