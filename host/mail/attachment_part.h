#pragma once

#include <string>

#include "host/mail/mail.h"
#include "platform/os/files.h"
#include "platform/os/result.h"

namespace host {

// Appends the file as a MIME entity: its header, an empty line, the bytes in base64. After a
// failure `out` is as it was.
platform::Status AppendAttachment(std::string& out, platform::Files& files,
                                  const MailAttachment& attachment);

}  // namespace host
