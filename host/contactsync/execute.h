#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/base/progress.h"
#include "host/contactsync/plan.h"

namespace host::contactsync {

// Carries out a plan; gives a line for each step that failed. `backup` is called before anything
// else if Eudora's file will change; its failure ends the run before the first change.
//
// The order makes a run that is cut off at any point harmless: what Eudora's file is about to get
// is remembered first; then the folder changes, additions before changes before removals, contact
// by contact; then Eudora's file in one step; each pair is remembered when both its sides are
// done. The next run finds a half-done pair equal on both sides, or one-sided still.
std::vector<std::string> Execute(const Plan& plan, const contacts::Stores& stores,
                                 state::PairMemory& memory,
                                 const std::function<base::Status()>& backup,
                                 base::Progress& progress);

// What the folder's contact holds beyond Eudora's limits, added to what no field shows.
base::Result<contacts::StoredContact> ReadFolderContact(const contacts::Stores& stores,
                                                        const std::string& id);

// Both sides as they are now. A contact whose marker is the remembered one is not read: it is as
// it is remembered, and so is one whose vCard is no regular file any more. kRefused if vCards
// cannot be read: the first one is named, the others counted.
base::Result<Sides> LoadSides(const contacts::Stores& stores, const state::Remembered& remembered,
                              base::Progress& progress);

}  // namespace host::contactsync
