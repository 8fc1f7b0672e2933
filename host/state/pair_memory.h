#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/base/contact.h"
#include "platform/os/result.h"

namespace host::state {

// One side of a pair as it was when the two sides were last in step.
struct RememberedSide {
    base::StoreItem item;
    base::Contact contact;
};

// A contact of Eudora's and a vCard that belong together.
struct RememberedPair {
    std::int64_t key = 0;  // 0: not remembered yet
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
    std::vector<RememberedPair> put;             // key 0 adds, another key replaces
    std::vector<std::int64_t> forget;            // keys
    std::optional<std::vector<Intent>> intents;  // replaces all, if given
};

// What lasts from one run to the next.
class PairMemory {
  public:
    virtual ~PairMemory() = default;
    virtual platform::Result<Remembered> Load() = 0;
    // All of it or nothing; durable when this returns.
    virtual platform::Status Save(const MemoryChange& change) = 0;
};

}  // namespace host::state
