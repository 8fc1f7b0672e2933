#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

// Checking everything that a run needs.
namespace host::doctor {

// In order of severity. kNote: works without it. kFault: a run would be refused. kBroken: it is
// there and cannot be read.
enum class Health { kGood, kNote, kFault, kBroken };

// The state of one thing. Texts are UTF-8.
struct Finding {
    Health health = Health::kGood;
    std::string what;
    std::string state;
    std::string advice;  // what to do about it; empty if nothing has to be done
};

// A failure as a finding: kFault for a refusal, else kBroken.
Finding FaultOf(std::string what, const base::Failure& failure);

// Examines everything that a run needs, from kvsync's own files to Eudora's, as far as the faults
// allow. `contactsFolder` is a native path in UTF-8. Writes nothing but what every run makes in
// kvsync's own folder.
std::vector<Finding> Examine(const eudora::SetupOptions& options,
                             const std::optional<std::string>& contactsFolder);

}  // namespace host::doctor
