#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/os/system.h"

namespace eumapi {

// Eudora's folder on this machine, as the registry names it, ending in a backslash. Nothing if the
// registry names none or there is no such folder.
std::optional<std::string> FindEudoraFolder(const platform::System& system);

// The two files of a mailbox.
struct MailboxPaths {
    std::string mbx, toc;
};
MailboxPaths PathsOf(const std::string& folder, std::string_view mailbox);

// Whether the beginning of a .toc file is that of Eudora for Macintosh, whose records are others.
bool IsMacintoshToc(std::string_view header);

}  // namespace eumapi
