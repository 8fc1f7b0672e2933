#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

namespace host::doctor {

// A broken thing is one that is there and could not be read.
enum class Health { kGood, kNote, kFault, kBroken };

// One thing that was looked at. Texts are UTF-8.
struct Finding {
    Health health = Health::kGood;
    std::string what;
    std::string state;
    std::string advice;  // what to do about it; empty if nothing has to be done
};

// What a failure says about a thing.
Finding FaultOf(std::string what, const base::Failure& failure);

// Looks at everything that a run stands on, from kvsync's own files to Eudora's, and goes on as far
// as the faults allow. Changes nothing but what each run makes in kvsync's own folder.
std::vector<Finding> Examine(const eudora::SetupOptions& options,
                             const std::optional<std::string>& contactsFolder);

}  // namespace host::doctor
