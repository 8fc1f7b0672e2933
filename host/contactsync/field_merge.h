#pragma once

#include "host/contactsync/plan.h"

namespace host::contactsync {

// The two sides of a pair, and what each could hold of the other.
struct TwoSides {
    TwoSides(const base::Contact& inEudora, const base::Contact& inFolder,
             const contacts::Stores& stores)
        : eudora(inEudora),
          folder(inFolder),
          folderInEudora(stores.eudora.Hold(folder)),
          eudoraInFolder(stores.folder.Hold(eudora)) {}

    const base::Contact eudora, folder, folderInEudora, eudoraInFolder;
};

// The outcome of comparing the two sides of a pair, field by field.
struct Merge {
    // With `base` null the pair was never in step: an empty field takes the other side's value.
    // With `keepNicknames` the nicknames are as they shall be.
    Merge(const base::Contact& inEudora, const base::Contact& inFolder,
          const state::RememberedPair* base, bool keepNicknames, const contacts::Stores& stores);

    // Settles the conflicts for one side.
    void Settle(bool folderWins);

    const TwoSides now;
    base::Contact eudora, folder;       // the values of both sides afterwards
    base::FieldSet toEudora, toFolder;  // fields to be changed there
    base::FieldSet conflicts;  // changed on both sides to different values; not in the others

  private:
    void ToEudora(base::Field field);
    void ToFolder(base::Field field, const std::string& before);
};

}  // namespace host::contactsync
