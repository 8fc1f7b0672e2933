#pragma once

#include <cstddef>

#include "mapi/records.h"

namespace mapi {

using MessageIdText = char[kMessageIdSize];

// Copies an id, cut to the room there is; the rest of the room becomes zero. `from` may be the
// text itself; null is the empty id.
void CopyMessageId(MessageIdText& to, const char* from);

}  // namespace mapi
