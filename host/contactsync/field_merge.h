#pragma once

#include "host/contactsync/plan.h"

namespace host::contactsync {

// The outcome of comparing the two sides of a pair, field by field.
struct Merge {
    base::FieldSet toEudora, toFolder;  // fields to be changed there
    base::Contact eudora, folder;       // the values of both sides then
    base::FieldSet conflicts;  // changed on both sides to different values; not in the others
};

// With `base` null the pair was never in step: an empty field takes the other side's value. With
// `keepNicknames` the nicknames are as they shall be.
Merge MergeFields(const base::Contact& eudora, const base::Contact& folder,
                  const state::RememberedPair* base, bool keepNicknames,
                  const contacts::Stores& stores);

// Settles the conflicts for one side.
void SettleConflicts(Merge& merge, bool folderWins, const contacts::Stores& stores);

}  // namespace host::contactsync
