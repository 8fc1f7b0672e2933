#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/os/result.h"

namespace host {

// What a remembered mail is to the two sides.
enum class MailLink {
    kInStep = 0,
    kPending = 1,  // its file was about to be delivered: whole, torn or not there
    kDropped = 2,  // its file was removed by the person: not delivered again
    kKept = 3,     // gone from Eudora, its file kept
};

// A mail of Eudora's and its file in the Maildir, as they were when they were last in step.
struct RememberedMail {
    std::int64_t key = 0;  // 0: not remembered yet
    MailLink link = MailLink::kInStep;
    std::string id, marker;  // Eudora's
    std::string messageId;   // Eudora's, without angle brackets; empty for none
    std::string unique;      // the file's name without its flags
    std::string flags;       // the file's
    std::uint64_t size = 0;  // of the file as it was delivered; 0 for one that was there before
    std::string content;     // a fingerprint of what Eudora tells; empty if it was never read
    std::string name;        // what a report calls it
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
    // All of it or nothing; durable when this returns.
    virtual platform::Status Save(const MailMemoryChange& change) = 0;
};

}  // namespace host
