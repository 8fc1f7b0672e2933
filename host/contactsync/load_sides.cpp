#include "host/contactsync/load_sides.h"

#include <functional>
#include <optional>
#include <unordered_map>

namespace host::contactsync {

namespace {

using Known = std::unordered_map<std::string, const state::RememberedPair*>;
using Reader = std::function<base::Result<contacts::StoredContact>(const std::string&)>;

base::Result<std::vector<contacts::StoredContact>> LoadSide(
    contacts::ContactStore& store, const Known& known,
    state::RememberedSide state::RememberedPair::*side, const Reader& read, const char* what,
    std::vector<std::string>& passedOver, base::Progress& progress) {
    auto items = store.List();
    if (!items) return items.Error();
    std::vector<contacts::StoredContact> contacts;
    contacts.reserve(items->size());
    std::optional<base::Failure> firstFailure;
    std::size_t failures = 0;
    for (std::size_t i = 0; i < items->size(); ++i) {
        progress.Step(what, i, items->size());
        base::StoreItem& item = (*items)[i];
        const auto found = known.find(item.id);
        const state::RememberedPair* const pair = found != known.end() ? found->second : nullptr;
        const auto keep = [&] {
            const state::RememberedSide& kept = pair->*side;
            contacts.push_back({kept.item, kept.contact, pair->uid, pair->beyond, true});
        };
        if (pair != nullptr && (pair->*side).item.marker == item.marker) {
            keep();
            continue;
        }
        auto stored = read(item.id);
        if (!stored && stored.Error().code == platform::ErrorCode::kNotRegular) {
            passedOver.push_back(stored.Error().Message());
            // What cannot be read is not gone.
            if (pair != nullptr) keep();
        } else if (!stored) {
            if (!firstFailure) firstFailure = stored.Error();
            ++failures;
        } else if (stored->isPerson) {
            contacts.push_back(*std::move(stored));
        }
    }
    if (!firstFailure) return contacts;
    if (failures > 1) {
        base::Failure& first = *firstFailure;
        std::string& last = first.code             ? first.thing
                            : first.advice.empty() ? first.what
                                                   : first.advice;
        last += " (and " + std::to_string(failures - 1) + " more like it)";
    }
    return *firstFailure;
}

}  // namespace

base::Result<contacts::StoredContact> ReadFolderContact(const contacts::Stores& stores,
                                                        const std::string& id) {
    auto stored = stores.folder.Read(id);
    if (stored) stored->beyond += stores.eudora.Hold(stored->contact) != stored->contact;
    return stored;
}

base::Result<Sides> LoadSides(const contacts::Stores& stores, const state::Remembered& remembered,
                              base::Progress& progress) {
    Known knownEudora, knownFolder;
    for (const state::RememberedPair& pair : remembered.pairs) {
        knownEudora[pair.eudora.item.id] = &pair;
        knownFolder[pair.folder.item.id] = &pair;
    }
    Sides sides;
    auto left = LoadSide(
        stores.eudora, knownEudora, &state::RememberedPair::eudora,
        [&](const std::string& id) { return stores.eudora.Read(id); }, "reading Eudora's contacts",
        sides.passedOver, progress);
    if (!left) return left.Error();
    auto right = LoadSide(
        stores.folder, knownFolder, &state::RememberedPair::folder,
        [&](const std::string& id) { return ReadFolderContact(stores, id); }, "reading the vCards",
        sides.passedOver, progress);
    if (!right) return right.Error();
    sides.eudora = *std::move(left);
    sides.folder = *std::move(right);
    return sides;
}

}  // namespace host::contactsync
