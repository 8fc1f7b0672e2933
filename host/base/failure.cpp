#include "host/base/failure.h"

namespace host::base {

Failure::Failure(const platform::Failure& failure)
    : exit(ExitCode::kFailed),
      code(failure.code),
      thing(failure.context),
      what(platform::Failure{failure.code, {}}.Message()),
      advice(failure.code == platform::ErrorCode::kNoSpace ? "make room on that disk" : ""),
      systemError(failure.systemError) {}

std::string Failure::Cause() const {
    std::string cause = thing.empty() ? what : thing + ": " + what;
    if (systemError != 0) cause += " (error " + std::to_string(systemError) + ")";
    return cause;
}

std::string Failure::Message() const {
    if (advice.empty()) return Cause();
    return Cause() + (thing.empty() ? ": " : "; ") + advice;
}

}  // namespace host::base
