#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/contacts/contact_store.h"
#include "host/contactsync/contact_sync.h"
#include "host/state/pair_memory.h"

namespace host::contactsync {

enum class Act { kNone, kAdd, kChange, kRemove };

// What is to be done to one side of a pair.
struct SideAction {
    Act act = Act::kNone;
    base::StoreItem known;  // the contact as the plan found it; no id if there is none
    base::Contact values;   // the side's values after the step
    base::FieldSet fields;  // of a change
    std::string like;       // of an addition: the contact that it is a copy of
};

// One pair brought into step. With both acts kNone only the memory changes.
struct Step {
    std::int64_t key = 0;  // of the remembered pair; 0 if it is new
    bool forget = false;   // the pair is gone on both sides
    SideAction eudora, folder;
    std::string uid;
    int beyond = 0;
    std::optional<std::size_t> needs;  // a step without which this one must not happen
    std::string name;                  // what the report calls it
    std::string renamedTo;             // the new nickname, when the step is a rename
};

// A contact that waits for a person, or that a person should look at.
struct Notice {
    std::string name, text;
};

struct Plan {
    std::vector<Step> steps;  // in the order of the report
    std::vector<Notice> conflicts;
    std::vector<Notice> refused;  // by Eudora's own rules
    std::vector<state::Intent> intents;
    std::vector<std::string> passedOver;  // what was left alone, and why
    int kept = 0;                         // contacts of which the folder holds more than Eudora can
    std::optional<std::string> stop;      // why nothing of this may be carried out
    bool dropIntents = false;             // old intents are settled

    bool ChangesEudora() const;
    bool ChangesAnything() const;  // of the two sides
    bool IsEmpty() const;          // not even the memory changes
};

// What both sides hold now.
struct Sides {
    std::vector<contacts::StoredContact> eudora, folder;
    std::vector<std::string> passedOver;  // what is no regular file, in words
};

// What the planner asks of the sides. Pure functions of their arguments.
struct SideRules {
    std::function<base::Contact(const base::Contact&)> holdEudora, holdFolder;
    std::function<std::optional<std::string>(const base::Contact&, base::FieldSet)> refusal;
    // A nickname made of a base and a suffix that Eudora can hold.
    std::function<std::string(const std::string&, const std::string&)> nickname;
    // Whether the folder's contact is the newer one of two that belong together.
    std::function<bool(const std::string& eudoraId, const std::string& folderId)> folderIsNewer;
};

struct PlanOptions {
    sync::Prefer prefer = sync::Prefer::kBoth;
    std::optional<sync::DeleteLimit> maxDelete;
};

// What brings both sides into step, from what they hold and what they held when they last were.
Plan MakePlan(const Sides& sides, const state::Remembered& remembered, const SideRules& rules,
              const PlanOptions& options);

// The lines that a report shows of a plan: one for each contact that changes, unless `countsOnly`,
// and the counts.
std::vector<std::string> DescribePlan(const Plan& plan, bool countsOnly);

}  // namespace host::contactsync
