#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::mail {

// Takes a message piece by piece; its failure ends the making of it.
using MessageSink = std::function<base::Status(std::string_view)>;

// Appends a file as a MIME entity: its header, an empty line, the bytes in base64. `out` is emptied
// into the sink as it grows.
base::Status AppendAttachment(std::string& out, const MessageSink& sink, const std::string& name,
                              platform::File& file);

}  // namespace host::mail
