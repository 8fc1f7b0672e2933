#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "eumapi/temporary_files.h"
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

// The messages that callers hold, with everything that they point to.
class MessageBuffers {
  public:
    MessageBuffers();
    ~MessageBuffers();
    MapiMessage* Make(MessageRecord record);
    // False for memory that is none of these messages.
    bool Free(void* message);

  private:
    struct Held;

    std::map<void*, std::unique_ptr<Held>> m_held;
};

}  // namespace eumapi
