#include "mapi/message_id.h"

#include <algorithm>
#include <cstring>

namespace mapi {

void CopyMessageId(MessageIdText& to, const char* from) {
    if (from == to) return;
    std::size_t length = 0;
    while (from != nullptr && length < kMessageIdSize - 1 && from[length] != '\0') ++length;
    if (length > 0) std::memmove(to, from, length);
    std::fill(to + length, to + kMessageIdSize, '\0');
}

}  // namespace mapi
