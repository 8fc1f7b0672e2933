#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"

// The memory of a sync: both sides as they were when last in step. Names and values are UTF-8. Ids
// and markers are the stores' own bytes: of contacts UTF-8, of mails in the system code page.
namespace host::state {

using Key = std::int64_t;  // of a row in the memory; 0 of what is not remembered yet

// One side of a pair as it was when the two sides were last in step.
struct RememberedSide {
    base::StoreItem item;
    base::Contact contact;
    bool operator==(const RememberedSide&) const = default;
};

// A contact of Eudora's and a vCard that belong together.
struct RememberedPair {
    Key key = 0;
    RememberedSide eudora, folder;
    std::string uid;
    int beyond = 0;  // properties of the vCard that no field shows
    bool operator==(const RememberedPair&) const = default;
};

// A nickname that a run is about to write into Eudora's file: the contact of the vCard `folderId`
// gets the id `newId` in place of `oldId` (empty for a new contact). After an interruption the next
// run pairs the two by it.
struct Intent {
    std::string oldId, newId, folderId;
    bool operator==(const Intent&) const = default;
};

// All that is remembered of one address book and one folder.
struct Remembered {
    std::vector<RememberedPair> pairs;
    std::vector<Intent> intents;
};

// A change of the memory, made in one step.
struct MemoryChange {
    std::vector<RememberedPair> put;  // key 0 adds, another key replaces
    std::vector<Key> forget;
    std::optional<std::vector<Intent>> intents;  // replaces all, if given
};

// How far a remembered mail has come. The numbers stand in the state file.
enum class MailLink {
    kInStep = 0,
    kPending = 1,   // its file was about to be delivered: whole, torn or not there
    kDropped = 2,   // its file was removed by the person: not delivered again
    kKept = 3,      // gone from Eudora, its file kept
    kAdding = 4,    // was about to be added to Eudora: there under its Message-ID, or not
    kSending = 5,   // its file in the out-box was about to be handed to Eudora
    kRenewing = 6,  // its file was about to be replaced by one of the name `unique`
};

// What the file of a mail lacks of what Eudora has. The numbers stand in the state file.
enum class MailLack : std::int64_t {
    kTexts = -1,  // it was composed with another code page than the present one
    kNothing = 0,
    // The limits left attachments out, the smallest of them of unknown size. Any larger number is
    // that size in bytes.
    kAttachments = 1,
};

// A mail of Eudora's and its file in the Maildir, as they were when they were last in step.
struct RememberedMail {
    Key key = 0;
    MailLink link = MailLink::kInStep;
    // Eudora's. With kSending, as marker: how many mails are handed over before this one, in
    // digits.
    std::string id, marker;
    std::string messageId;  // Eudora's, without angle brackets; empty for none
    std::string unique;     // the file's name without its flags
    std::string flags;      // the file's
    // Bytes of the delivered file; 0 for a file that was there before. With kSending: the number of
    // mails in Eudora's out-box before the first of those mails was queued.
    std::uint64_t size = 0;
    // The mail's ContentOf; empty if it was never read. With kAdding and kSending: the names of the
    // copies of its attachments, each ended by LF. With kRenewing: ContentOf, LF, and the unique
    // name of the file that is replaced.
    std::string content;
    std::string name;  // what a report calls it
    // The Message-ID that its file has; empty in a memory of an earlier version.
    std::string fileId;
    MailLack lack = MailLack::kNothing;
    bool operator==(const RememberedMail&) const = default;
};

// A change of the memory of mails, made in one step.
struct MailMemoryChange {
    std::vector<RememberedMail> put;  // key 0 adds, another key replaces
    std::vector<Key> forget;
    bool settle = false;  // all that are pending are in step
};

// The two sides that a memory is of. Paths are native, in UTF-8.
struct Sides {
    std::string eudora;  // the nickname file, or In.mbx
    std::string folder;  // of vCards, or the Maildir: absolute, links followed
    // The folder as the command line names it: memories of earlier versions go by that.
    std::string folderAsNamed = folder;
    unsigned codePage = 0;  // Microsoft's number of that of Eudora's texts
    std::string
        eudoraLock{};  // a file of kvsync's own that a run on this Eudora holds; may be empty
    // How long another run on one of the sides may take to end before this one is refused.
    std::chrono::seconds wait{0};
};

// What is remembered of two sides beside their contacts or mails.
class SidesMemory {
  public:
    virtual ~SidesMemory() = default;
    // Microsoft's number of the code page in which the remembered texts of Eudora were read; 0 if
    // nobody knows.
    virtual unsigned CodePage() const { return 0; }
    // Whether the folder has its mark, and where it lies and the code page are remembered as they
    // are now.
    virtual bool IsCurrent() const { return true; }
    // What a run reported that found nothing to do when both sides looked so; empty if none did
    // since the memory changed.
    virtual std::string IdleReport(const std::string& /*look*/) { return {}; }
    virtual base::Status KeepIdleReport(const std::string& /*look*/,
                                        const std::string& /*report*/) {
        return {};
    }
    // Forgets all of it, the folder too, whose mark stays.
    virtual base::Status Forget() { return {}; }
};

// The memory of the two sides of a sync.
template <class Content, class Change>
class Memory : public SidesMemory {
  public:
    // Everything, oldest first; empty if nothing was ever saved.
    virtual base::Result<Content> Load() = 0;
    // Makes the change as a whole or, after a failure, not at all; durable when this returns. Added
    // rows get their keys.
    virtual base::Status Save(Change& change) = 0;
    base::Status Save(Change&& change) { return Save(change); }

    // Makes the memory current, and the change in the same step. To be called before the first
    // Save; the folder must exist. kRefused if another run marked it meanwhile.
    virtual base::Status Begin(Change change) { return Save(std::move(change)); }
};
using PairMemory = Memory<Remembered, MemoryChange>;
using MailMemory = Memory<std::vector<RememberedMail>, MailMemoryChange>;

}  // namespace host::state
