#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/base/progress.h"
#include "host/contactsync/plan.h"

// Reading both sides and carrying out a plan on them.
namespace host::contactsync {

// Carries out a plan; gives the plan's report with the changes that were made, the number of those
// that were not, and an error for each step that failed. `backup` is called first if Eudora's file
// or a vCard will change or go; its failure ends the run before the first change.
//
// The order makes an interrupted run harmless:
// 1. the intents are remembered: the nicknames that Eudora's file is about to get;
// 2. the folder changes contact by contact, additions before changes before removals; a pair whose
//    vCard is added is remembered with the marker kAdding before;
// 3. Eudora's file changes in one step.
// A pair is remembered once both its sides are done. After an interruption the next run finds the
// pair equal on both sides, or changed on one side only.
//
// After a failed step of the folder Eudora's side of the pair is passed over. A failed Commit
// leaves Eudora's file as it was. A folder without space for more ends the run.
sync::Report Execute(const Plan& plan, const contacts::Stores& stores, state::PairMemory& memory,
                     const std::function<base::Status()>& backup, base::Progress& progress);

// A contact of the folder. Its `beyond` counts one more if Eudora cannot hold all of its values.
base::Result<contacts::StoredContact> ReadFolderContact(const contacts::Stores& stores,
                                                        const std::string& id);

// Both sides as they are now. An unchanged marker saves reading the contact: the remembered values
// stand for it. They stand for a remembered vCard, too, whose file cannot be one any more. If
// contacts cannot be read, the failure is the first one's with the number of the others; for a file
// that is no vCard it is kRefused.
base::Result<Sides> LoadSides(const contacts::Stores& stores, const state::Remembered& remembered,
                              base::Progress& progress);

}  // namespace host::contactsync
