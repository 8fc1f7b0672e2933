#pragma once

#include "platform/os/result.h"

namespace host::base {

// What kvsync tells the shell that ran it. Commands that only read end with kNothingToDo.
enum class ExitCode {
    kNothingToDo = 0,    // done; nothing had to be changed
    kFailed = 1,         // something broke on the way
    kUsage = 2,          // the command line or the configuration file makes no sense
    kRefused = 3,        // stopped before anything was touched
    kChangesMade = 4,    // done, with changes
    kConflictsLeft = 5,  // done, but records wait for a decision
};

// The code of a run that ends with this failure.
inline ExitCode CodeOf(const platform::Failure& failure) {
    return failure.code == platform::ErrorCode::kRefused ? ExitCode::kRefused : ExitCode::kFailed;
}

inline platform::Failure Refused(std::string line, std::string advice = {}) {
    return {platform::ErrorCode::kRefused, std::move(line), 0, std::move(advice)};
}

inline platform::Failure Failed(std::string line) {
    return {platform::ErrorCode::kFailed, std::move(line)};
}

}  // namespace host::base
