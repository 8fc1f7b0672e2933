#pragma once

#include <string>
#include <vector>

#include "host/contacts/contact_store.h"
#include "host/contactsync/step.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"

// Planning a sync of contacts: no file is read or written here. Texts are UTF-8.
namespace host::contactsync {

// Steps for both sides, and the report of a run in which all of them succeed.
struct Plan {
    std::vector<Step> steps;  // in the order of the report
    std::vector<state::Intent> intents;
    bool dropIntents = false;                // old intents are settled
    std::vector<state::Intent> leftIntents;  // old ones that a run of this plan does not settle
    sync::Report report;  // of a run that carries all of it out; its `stop` forbids that

    // Neither a side nor the memory changes.
    bool IsEmpty() const { return steps.empty() && !dropIntents; }
};

// What both sides hold now.
struct Sides {
    std::vector<contacts::StoredContact> eudora, folder;
    std::vector<std::string> passedOver;  // files that are not one vCard each, in words
};

// The plan that brings both sides into step. The stores only tell what values they can hold or
// refuse; the caller keeps them.
// - A contact on one side only is added to the other; its nickname gets a number if it is taken.
// - A contact deleted on one side is deleted on the other, unless it changed there: then the
//   preference decides. kNewer and kBoth keep it.
// - A field changed on both sides follows the preference; kBoth keeps the older values in a copy of
//   the contact marked "(older)", in a run in both directions.
// - Without a preference both sides stay as they are and are found again by each run. So does what
//   would go against the direction, and what Eudora refuses. The other fields of the pair go over.
// - With a resolution there are the steps of that conflict alone.
// The report's `stop` is set if one side is empty although pairs are remembered, if more contacts
// would be deleted or added than the limits allow, or if there is no conflict to be resolved.
Plan MakePlan(const Sides& sides, const state::Remembered& remembered,
              const contacts::Stores& stores, const sync::Options& options);

}  // namespace host::contactsync
