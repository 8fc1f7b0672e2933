#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/contacts/contact_store.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"

namespace host::contactsync {

// What is to be done to one side of a pair.
struct SideAction {
    sync::Verb verb = sync::Verb::kNone;
    base::StoreItem known;       // the contact as the plan found it; no id if there is none
    base::Contact values;        // the side's values after the step
    base::FieldSet fields = {};  // of a change
    std::string like = {};       // of an addition: the contact that it is a copy of
};

// One pair brought into step. If neither side changes only the memory does.
struct Step {
    state::Key key = 0;  // of the remembered pair; 0 if it is new
    std::string name;    // what the report calls it
    SideAction eudora = {}, folder = {};
    std::string uid = {};  // of the vCard as it is
    int beyond = 0;
    bool forget = false;                    // the pair is gone on both sides
    std::optional<std::size_t> needs = {};  // a step without which this one must not happen
    std::string renamedTo = {};             // the new nickname, when the step is a rename
};

struct Plan {
    std::vector<Step> steps;  // in the order of the report
    std::vector<state::Intent> intents;
    bool dropIntents = false;         // old intents are settled
    std::optional<std::string> stop;  // why nothing of this may be carried out
    sync::Report report;              // of a run that carries all of it out

    bool IsEmpty() const { return steps.empty() && !dropIntents; }  // of changes of the memory too
};

// What both sides hold now.
struct Sides {
    std::vector<contacts::StoredContact> eudora, folder;
    std::vector<std::string> passedOver;  // what is no regular file, in words
};

// What brings both sides into step, from what they hold and what they held when they last were. The
// stores are only asked what they could hold.
Plan MakePlan(const Sides& sides, const state::Remembered& remembered,
              const contacts::Stores& stores, const sync::Options& options);

}  // namespace host::contactsync
