#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/os/result.h"

namespace host::state {

// What a remembered mail is to the two sides.
enum class MailLink {
    kInStep = 0,
    kPending = 1,  // its file was about to be delivered: whole, torn or not there
    kDropped = 2,  // its file was removed by the person: not delivered again
    kKept = 3,     // gone from Eudora, its file kept
    kAdding = 4,   // was about to be added to Eudora: there under its Message-ID, or not
    kSending = 5,  // its file in the out-box was about to be handed to Eudora
};

// A mail of Eudora's and its file in the Maildir, as they were when they were last in step.
struct RememberedMail {
    std::int64_t key = 0;  // 0: not remembered yet
    MailLink link = MailLink::kInStep;
    std::string id, marker;  // Eudora's
    std::string messageId;   // Eudora's, without angle brackets; empty for none
    std::string unique;      // the file's name without its flags
    std::string flags;       // the file's
    // Of the file as it was delivered, 0 for one that was there before; of kSending the number of
    // mails in Eudora's out-box before.
    std::uint64_t size = 0;
    // A fingerprint of what Eudora tells; empty if it was never read. Of kAdding and kSending the
    // names of the copies of its attachments, with line ends between them.
    std::string content;
    std::string name;  // what a report calls it
    // The Message-ID that its file has; empty in a memory of an earlier version.
    std::string fileId;
};

struct MailMemoryChange {
    std::vector<RememberedMail> put;   // key 0 adds, another key replaces
    std::vector<std::int64_t> forget;  // keys
    bool settle = false;               // all that are pending are in step
};

// What lasts of mails from one run to the next.
class MailMemory {
  public:
    virtual ~MailMemory() = default;
    // In the order in which they were added.
    virtual platform::Result<std::vector<RememberedMail>> Load() = 0;
    // All of it or nothing; durable when this returns. What was added gets its key.
    virtual platform::Status Save(MailMemoryChange& change) = 0;
    platform::Status Save(MailMemoryChange&& change) { return Save(change); }
};

}  // namespace host::state
