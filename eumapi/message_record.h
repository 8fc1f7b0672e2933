#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "eumapi/attachment_copies.h"
#include "mapi/records.h"

namespace eumapi {

struct Recipient {
    std::uint32_t recipientClass = mapi::kTo;
    std::string name, address;
};

// A mail on its way to a caller of MAPIReadMail. A text that is not there becomes a null pointer.
struct MessageRecord {
    std::string subject;
    std::optional<std::string> note, date;
    std::uint32_t flags = 0;
    std::optional<Recipient> originator;
    std::vector<Recipient> recipients;
    std::vector<AttachmentCopy> files;
};

// The messages that callers hold. Each is one block of memory with everything that it points to.
class MessageBuffers {
  public:
    MapiMessage* Make(const MessageRecord& record);
    // False for memory that is none of these messages.
    bool Free(void* message);

  private:
    std::unordered_map<void*, std::unique_ptr<unsigned char[]>> m_blocks;
};

}  // namespace eumapi
