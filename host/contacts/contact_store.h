#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"

namespace host::contacts {

struct StoredContact {
    base::StoreItem item;
    base::Contact contact;
    std::string uid;       // of a vCard; empty where there is none
    int beyond = 0;        // things in it that no field shows
    bool isPerson = true;  // false for an entry that is no contact: it is left alone
};

// One side of a synchronisation. Reading gives what the store held at the last List or Commit.
class ContactStore {
  public:
    virtual ~ContactStore() = default;

    virtual base::Result<std::vector<base::StoreItem>> List() = 0;
    virtual base::Result<StoredContact> Read(const std::string& id) = 0;
    // When a contact that was listed so was last changed, as far as the store knows.
    virtual std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem& item) const = 0;

    // What the store would hold of these values. Characters stand for characters: where the store
    // lacks one, another one stands.
    virtual base::Contact Hold(const base::Contact& contact) const = 0;
    // Why the store would refuse these values (only the fields `which`), if it would.
    virtual std::optional<std::string> Refusal(const base::Contact&, base::FieldSet) { return {}; }

    // A nickname made of both, cut so that the store can hold it.
    virtual std::string Nickname(const std::string& base, const std::string& suffix) const {
        return base + suffix;
    }

    // Adds a contact with the non-empty values; as a copy of the contact `like` with other values
    // if that is not empty. Gives its id.
    virtual base::Result<std::string> Add(const base::Contact& values, const std::string& like) = 0;
    // Changes the fields `which`; fails if the contact is no longer as `known` says, where the
    // store can tell. Gives the id, which may be a new one.
    virtual base::Result<std::string> Change(const base::StoreItem& known,
                                             const base::Contact& values, base::FieldSet which) = 0;
    virtual base::Status Remove(const base::StoreItem& known) = 0;
    // Makes the changes since the last Commit durable, all or none, in a store that collects them;
    // other stores have done so at each change.
    virtual base::Status Commit() { return {}; }
};

// The two sides of a synchronisation.
struct Stores {
    ContactStore &eudora, &folder;
};

}  // namespace host::contacts
