#pragma once

#include "host/engine/plan.h"
#include "host/engine/progress.h"

namespace host {

// What the folder's contact holds beyond Eudora's limits, added to what no field shows.
platform::Result<StoredContact> ReadFolderContact(ContactStore& eudora, ContactStore& folder,
                                                  const std::string& id);

// Both sides as they are now. A contact whose marker is the remembered one is not read: it is as
// it is remembered, and so is one whose vCard is no regular file any more. kRefused if vCards
// cannot be read: the first one is named, the others counted.
platform::Result<Sides> LoadSides(ContactStore& eudora, ContactStore& folder,
                                  const Remembered& remembered, Progress& progress);

// The rules of two stores for the planner; the stores must outlive them.
SideRules RulesOf(ContactStore& eudora, ContactStore& folder, unsigned codePage);

}  // namespace host
