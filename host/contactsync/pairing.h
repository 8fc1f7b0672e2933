#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/contactsync/plan.h"

// Which contacts of the two sides are the same person's.
namespace host::contactsync {

// Contacts matched to the remembered pairs, and new pairs. Numbers are indices into the lists of
// Sides. No contact occurs twice.
struct Pairing {
    // The contacts of a remembered pair.
    struct Known {
        std::optional<std::size_t> eudora, folder;  // nothing: gone
        bool isIntended = false;  // Eudora's contact was written by a run that was cut off
    };
    // A new pair.
    struct Found {
        std::size_t eudora, folder;
        bool isIntended = false;
    };
    std::vector<Known> known;  // one for each remembered pair, in their order
    std::vector<Found> found;
    std::vector<std::size_t> onlyEudora, onlyFolder;
};

// Matches in this order; each contact takes the first match.
// 1. Remembered pairs: by the ids of both sides.
// 2. Interrupted runs: by their intents.
// 3. Renames: a vanished contact and a new one with the same UID, the same content beside the
//    nickname, or the same name and e-mail address.
// 4. Contacts without memory: by the whole content, the nickname, the content beside the nickname,
//    or name and e-mail address.
// UIDs, and name with e-mail address, match only where they are unique on both sides.
Pairing FindPairs(const Sides& sides, const state::Remembered& remembered,
                  const contacts::Stores& stores);

}  // namespace host::contactsync
