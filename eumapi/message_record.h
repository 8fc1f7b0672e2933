#pragma once

#include <cstdint>
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

// A mail for a caller of MAPIReadMail, in the system code page; a missing text becomes a null
// pointer. It owns everything that the message points to and cannot be moved after Describe.
struct MessageRecord {
    explicit MessageRecord(const platform::System& system) : files(system) {}

    std::string subject;
    std::optional<std::string> note, date;
    std::uint32_t flags = 0;
    std::optional<Recipient> originator;
    std::vector<Recipient> recipients;
    AttachmentCopies files;

    // The message for the caller, to be made when all members have their values.
    MapiMessage* Describe();

  private:
    MapiMessage m_message{};
    MapiRecipDesc m_originator{};
    std::vector<MapiRecipDesc> m_recipients;
    std::vector<MapiFileDesc> m_files;
};

}  // namespace eumapi
