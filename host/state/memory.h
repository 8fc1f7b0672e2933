#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"

// What lasts from one run to the next.
namespace host::state {

using Key = std::int64_t;  // of a row in the memory; 0 of what is not remembered yet

// One side of a pair as it was when the two sides were last in step.
struct RememberedSide {
    base::StoreItem item;
    base::Contact contact;
};

// A contact of Eudora's and a vCard that belong together.
struct RememberedPair {
    Key key = 0;
    RememberedSide eudora, folder;
    std::string uid;
    int beyond = 0;  // what the vCard holds that no field shows
};

// What a run is about to write into Eudora's file: that the vCard becomes the contact `newId`,
// which was `oldId` before (empty: a new one). A run that follows one which was cut off tells by
// it what belongs together.
struct Intent {
    std::string oldId, newId, folderId;
};

struct Remembered {
    std::vector<RememberedPair> pairs;
    std::vector<Intent> intents;
};

struct MemoryChange {
    std::vector<RememberedPair> put;  // key 0 adds, another key replaces
    std::vector<Key> forget;
    std::optional<std::vector<Intent>> intents;  // replaces all, if given
};

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
    Key key = 0;
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
    std::vector<RememberedMail> put;  // key 0 adds, another key replaces
    std::vector<Key> forget;
    bool settle = false;  // all that are pending are in step
};

// What is remembered of one address book with one folder, or of one in-box with one Maildir.
template <class Content, class Change>
class Memory {
  public:
    virtual ~Memory() = default;
    // In the order in which it was added.
    virtual base::Result<Content> Load() = 0;
    // All of it or nothing; durable when this returns. What was added gets its key.
    virtual base::Status Save(Change& change) = 0;
    base::Status Save(Change&& change) { return Save(change); }
};
using PairMemory = Memory<Remembered, MemoryChange>;
using MailMemory = Memory<std::vector<RememberedMail>, MailMemoryChange>;

}  // namespace host::state
