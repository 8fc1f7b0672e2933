#pragma once

#include "host/base/failure.h"
#include "host/base/progress.h"
#include "host/contactsync/plan.h"

namespace host::contactsync {

// What the folder's contact holds beyond Eudora's limits, added to what no field shows.
base::Result<contacts::StoredContact> ReadFolderContact(const contacts::Stores& stores,
                                                        const std::string& id);

// Both sides as they are now. A contact whose marker is the remembered one is not read: it is as
// it is remembered, and so is one whose vCard is no regular file any more. kRefused if vCards
// cannot be read: the first one is named, the others counted.
base::Result<Sides> LoadSides(const contacts::Stores& stores, const state::Remembered& remembered,
                              base::Progress& progress);

}  // namespace host::contactsync
