#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"

// The interface of both sides of a contact sync. Texts are UTF-8.
namespace host::contacts {

// A contact as a store holds it.
struct StoredContact {
    base::StoreItem item;
    base::Contact contact;
    std::string uid;       // of a vCard; empty where there is none
    int beyond = 0;        // how many things in it no field shows
    bool isPerson = true;  // false for a group and the like, which a sync leaves alone
    // The remembered values stand for a contact that cannot be read now.
    bool isStandIn = false;
};

// One side of a sync. Calls other than List, ChangedAt, Hold and Nickname need an earlier List. A
// failed change leaves the contact as it was.
class ContactStore {
  public:
    virtual ~ContactStore() = default;

    // All contacts, in the store's order.
    virtual base::Result<std::vector<base::StoreItem>> List() = 0;
    // One of them, with its present marker. kNotRegular if it is there but cannot be one contact.
    virtual base::Result<StoredContact> Read(const std::string& id) = 0;
    // The time of a contact's last change; nothing if the store does not know it.
    virtual std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem& item) const = 0;

    // Tells what was last seen in a contact. Of several properties that could be a field's the one
    // with that value is it.
    virtual void Expect(const std::string&, const base::Contact&) {}

    // The values as the store can hold them. A character that it lacks becomes others that look
    // like it, mostly one, or a question mark.
    virtual base::Contact Hold(const base::Contact& contact) const = 0;
    // The reason to refuse these values (only the fields `which`); nothing if they are acceptable.
    virtual std::optional<std::string> Refusal(const base::Contact&, base::FieldSet) { return {}; }

    // `base` and `suffix` as one nickname; `base` is cut where the store's limit needs it.
    virtual std::string Nickname(const std::string& base, const std::string& suffix) const {
        return base + suffix;
    }

    // The id that a contact can be added under; empty if its values will give it.
    virtual std::string NewId() { return {}; }
    // Adds a contact with these values under an id of NewId's and gives its id. `like`, if not
    // empty, is the id of a contact whose other properties the new one gets, where the store has
    // any.
    virtual base::Result<std::string> Add(const std::string& id, const base::Contact& values,
                                          const std::string& like) = 0;
    // Changes the fields `which` and gives the id, which may be a new one. Fails if the contact has
    // changed since `known`, where the store can tell; so does Remove.
    virtual base::Result<std::string> Change(const base::StoreItem& known,
                                             const base::Contact& values, base::FieldSet which) = 0;
    virtual base::Status Remove(const base::StoreItem& known) = 0;
    // Writes the changes since the last Commit, all or none, in a store that collects them. Other
    // stores make each change durable at once.
    virtual base::Status Commit() { return {}; }
};

// The two sides of a synchronisation.
struct Stores {
    ContactStore &eudora, &folder;
};

}  // namespace host::contacts
