#pragma once

#include <string>

#include "eumapi/mailbox.h"
#include "eumapi/result_code.h"
#include "platform/os/system.h"

namespace eumapi {

// Queues a mail at the end of Eudora's out-box; Eudora sends it when it next runs. Attachments are
// copied into the folder Attach below `eudoraFolder`, a Windows path that ends in a backslash, so
// the caller may delete its files. A mail that cannot be sent gives a published code and leaves
// nothing behind. The out-box is closed before and after.
Code SendMail(const platform::System& system, const std::string& eudoraFolder, Mailbox& outBox,
              const MapiMessage& message);

}  // namespace eumapi
