#pragma once

#include "host/contacts/contact_store.h"
#include "host/state/memory.h"

// A three-way merge of one pair: both sides now, and both as they were when last in step.
namespace host::contactsync {

// The two sides of a pair, and what each store can hold of the other side's values.
struct TwoSides {
    TwoSides(const base::Contact& inEudora, const base::Contact& inFolder,
             const contacts::Stores& stores)
        : eudora(inEudora),
          folder(inFolder),
          folderInEudora(stores.eudora.Hold(folder)),
          eudoraInFolder(stores.folder.Hold(eudora)) {}

    const base::Contact eudora, folder, folderInEudora, eudoraInFolder;
};

// The merge, field by field. A field changed on one side goes to the other; a change that the other
// side cannot hold is none for it. A value that merely lost characters on its way into Eudora
// counts as equal, and an edit of it in Eudora keeps the lost characters of the folder's value.
class Merge {
  public:
    // `base` is what is remembered. Without it an empty field takes the other side's value, and two
    // different nicknames both stay, or the one that Eudora made up for a vCard without any.
    // `keepNicknames` keeps them in any case. The stores outlive the merge.
    Merge(const base::Contact& inEudora, const base::Contact& inFolder,
          const state::RememberedPair* base, bool keepNicknames, const contacts::Stores& stores);

    // Gives the conflicting fields the values of the winning side; then there is no conflict.
    void Settle(bool folderWins);
    // Leaves the fields as they are on both sides: they wait.
    void HoldBack(base::FieldSet fields);

    const TwoSides now, old;
    base::Contact eudora, folder;       // the values of both sides afterwards
    base::FieldSet toEudora, toFolder;  // fields to be changed there
    base::FieldSet conflicts;  // changed on both sides to different values; not in the others
    base::FieldSet waiting;    // not in the others

  private:
    void ToEudora(base::Field field);
    void ToFolder(base::Field field);

    const contacts::ContactStore& m_eudora;
};

}  // namespace host::contactsync
