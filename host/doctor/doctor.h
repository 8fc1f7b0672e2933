#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

// Checking everything that a run needs.
namespace host::doctor {

// In order of severity. kGood: it was looked at and nothing is wrong. kNote: works without it.
// kFault: a run would be refused, or would work on damaged files. kBroken: it is there and cannot
// be read.
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

// The places that a person named besides Eudora. Native paths in UTF-8.
struct Places {
    std::optional<std::string> contacts;  // the folder of vCards
    std::optional<std::string> maildir;
    std::optional<std::string> state;  // the memory's file; the backups lie beside it
};

// Examines everything that a run needs, from kvsync's own files to Eudora's, as far as the faults
// allow. Writes nothing but what every run makes in kvsync's own folder.
std::vector<Finding> Examine(const eudora::SetupOptions& options, const Places& places);

}  // namespace host::doctor
