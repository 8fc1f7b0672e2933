#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/contactsync/plan.h"

namespace host::contactsync {

// Which contact of each side belongs to which remembered pair, and which belong together although
// nothing is remembered. Indices into Sides and Remembered.
struct Pairing {
    struct Known {
        std::optional<std::size_t> eudora, folder;  // nothing: gone
        bool isIntended = false;  // Eudora's contact was written by a run that was cut off
    };
    struct Found {
        std::size_t eudora, folder;
        bool isIntended = false;
    };
    std::vector<Known> known;  // one for each remembered pair
    std::vector<Found> found;
    std::vector<std::size_t> onlyEudora, onlyFolder;
};

// Pairs by the remembered ids; then by what a cut-off run meant to do; then a contact that vanished
// with one that appeared with the same content, or the same name and address (a rename); then those
// that are plainly the same: same nickname, or same name and address, or same content.
Pairing FindPairs(const Sides& sides, const state::Remembered& remembered,
                  const contacts::Stores& stores);

}  // namespace host::contactsync
