#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/result.h"

namespace platform {

// A started process. Destroying the object closes the handles and leaves the process alone.
class Process {
  public:
    virtual ~Process() = default;
    // Returns when the process has ended, or after `timeout`; true if it has ended.
    virtual bool Wait(std::chrono::milliseconds timeout) = 0;
};

struct SystemVersion {
    unsigned major = 0;
    unsigned minor = 0;
};

// Other programs, and what the system says about itself to a program.
class Processes {
  public:
    virtual ~Processes() = default;

    // Starts a program by its command line. The posix backend refuses with kNotSupported: it never
    // runs Windows programs.
    virtual Result<std::unique_ptr<Process>> Start(std::string_view commandLine) = 0;
    virtual Result<SystemVersion> Version() = 0;
    // A number of the system's profile (win.ini); `otherwise` if it is not there.
    virtual int ProfileNumber(std::string_view section, std::string_view key, int otherwise) = 0;
};

// The windows of all programs. In a Wine prefix there are none to see.
class Windows {
  public:
    virtual ~Windows() = default;

    // Whether there is a top-level window of that class.
    virtual bool Exists(std::string_view windowClass) = 0;
    // Looks at the thread's message queue without removing anything, so that the system delivers
    // what was sent to the thread. The number of the message that waits, if one does.
    virtual std::optional<unsigned> PeekMessages() = 0;
};

}  // namespace platform
