#pragma once

#include <new>
#include <optional>
#include <string>

#include "platform/os/result.h"

// Failures of the host, and the exit codes that they lead to.
namespace host::base {

// kvsync's exit code. Commands that only read end with kNothingToDo.
enum class ExitCode {
    kNothingToDo = 0,    // done; nothing had to be changed
    kFailed = 1,         // something broke on the way
    kUsage = 2,          // the command line or the configuration file makes no sense
    kRefused = 3,        // stopped before anything was touched
    kChangesMade = 4,    // done, with changes
    kConflictsLeft = 5,  // done, but records wait for a decision
};

// Why something was not done. Texts are UTF-8, one line each, for a person.
struct Failure {
    Failure(ExitCode end, std::string why, std::string help = {}, std::string name = {})
        : exit(end), thing(std::move(name)), what(std::move(why)), advice(std::move(help)) {}
    // A failure of the system; a run that it stops ends with kFailed.
    Failure(const platform::Failure& failure);

    ExitCode exit;                            // how a run ends that this stops
    std::optional<platform::ErrorCode> code;  // of a call of the system
    std::string thing;                        // a path mostly; empty if `what` names it
    std::string what;                         // "access denied"
    std::string advice;                       // what a person can do about it; empty if unknown
    int systemError = 0;                      // errno or GetLastError; 0 if there is none

    // "C:\x\y.txt: access denied (error 13)".
    std::string Cause() const;
    // The same with the advice behind it.
    std::string Message() const;
};

template <class T>
using Result = platform::Result<T, Failure>;
using Status = Result<void>;

// A failure before anything was changed.
inline Failure Refused(std::string what, std::string advice = {}) {
    return {ExitCode::kRefused, std::move(what), std::move(advice)};
}

// The same, about one thing: "THING: WHAT; ADVICE".
inline Failure RefusedFor(std::string thing, std::string what, std::string advice) {
    return {ExitCode::kRefused, std::move(what), std::move(advice), std::move(thing)};
}

// A failure of the system before anything was changed: "WHAT: CAUSE". The advice counts where the
// cause says none itself.
inline Failure RefusedBy(const Failure& cause, const std::string& what, const std::string& advice) {
    return Refused(what + ": " + cause.Cause(), cause.advice.empty() ? advice : cause.advice);
}

// A failure of work that had begun.
inline Failure Failed(std::string what, std::string advice = {}) {
    return {ExitCode::kFailed, std::move(what), std::move(advice)};
}

// Runs work that can take much memory, and turns a lack of memory into a failure. `work` gives a
// Result.
template <class Work>
auto OrOutOfMemory(const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return Failed("memory ran out");
    }
}

}  // namespace host::base
