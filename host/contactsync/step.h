#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "host/contacts/contact_store.h"
#include "host/state/memory.h"
#include "host/sync/report.h"

// One step of a sync of contacts, as it is planned, carried out, told and remembered. Texts are
// UTF-8.
namespace host::contactsync {

// Begins the markers of pairs in which something waits. Eudora's goes on with all that was there
// beside the nickname: by that the contact is known again when it gets another one.
inline constexpr std::string_view kWaits = "waits:";

// The marker of a vCard that was about to be written: it is there or not.
inline constexpr std::string_view kAdding = "adding";

// What is to be done to one side of a pair.
struct SideAction {
    sync::Verb verb = sync::Verb::kNone;
    base::StoreItem known;       // the contact as the plan found it; no id if there is none
    base::Contact values;        // the side's values after the step
    base::FieldSet fields = {};  // of a change
    std::string like = {};       // of an addition: the contact that it is a copy of
    base::Contact before = {};   // what is remembered of the fields that wait
};

// One pair brought into step. Without a change of either side only the memory changes.
struct Step {
    state::Key key = 0;  // of the remembered pair; 0 if it is new
    std::string name;    // what the report calls it
    SideAction eudora = {}, folder = {};
    std::string uid = {};  // of the vCard as it is
    int beyond = 0;
    bool forget = false;                    // the pair is gone on both sides
    std::optional<std::size_t> needs = {};  // a step without which this one must not happen
    std::string renamedTo = {};             // the new nickname, when the step is a rename
    base::FieldSet waiting = {};            // fields that stay as they are, to be found again
    // What is remembered of a pair of which one side is gone, and the other one stays.
    std::optional<state::RememberedPair> left = {};
    base::FieldSet inPart = {};  // fields that Eudora gets and cannot hold as they are

    const SideAction& On(sync::Side side) const {
        return side == sync::Side::kEudora ? eudora : folder;
    }
    // What the report says of it: what it does to these sides; nothing if that is nothing.
    std::optional<sync::Change> Told(bool inEudora, bool inFolder) const;
    // The pair as it is remembered when both sides are like that. What waits keeps its old values,
    // and markers that no store gives make the next run read it again.
    state::RememberedPair Remembered(const contacts::StoredContact& nowInEudora,
                                     const contacts::StoredContact& nowInFolder) const;
};

}  // namespace host::contactsync
