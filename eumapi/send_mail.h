#pragma once

#include <string>

#include "eumapi/result_code.h"
#include "platform/os/system.h"

namespace eumapi {

// Queues a mail at the end of Eudora's out-box, to be sent when Eudora next runs. Copies of its
// attachments go into the folder Attach, so the caller may delete his files. The published codes
// for a mail that cannot be sent, and then nothing is left behind.
Code SendMail(const platform::System& system, const std::string& eudoraFolder,
              const MapiMessage& message);

}  // namespace eumapi
