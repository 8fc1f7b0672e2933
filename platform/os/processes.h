#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/result.h"

// Other programs and their windows. Texts are in the system code page.
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

// Starting programs, and the version and profile of the system.
class Processes {
  public:
    virtual ~Processes() = default;

    // Starts a program by its command line. kNotSupported in a Wine prefix, whose programs are
    // never run.
    virtual Result<std::unique_ptr<Process>> Start(std::string_view commandLine) = 0;
    // The version of Windows; in a Wine prefix the one that programs there are told.
    virtual Result<SystemVersion> Version() = 0;
    // A number in the system's profile win.ini; `otherwise` if the key is missing.
    virtual int ProfileNumber(std::string_view section, std::string_view key, int otherwise) = 0;
};

// The windows of all programs. In a Wine prefix there are none to see.
class Windows {
  public:
    virtual ~Windows() = default;

    // Whether there is a top-level window of that class.
    virtual bool Exists(std::string_view windowClass) = 0;
    // Peeks at the thread's message queue, which lets the system deliver sent messages. Gives the
    // number of the waiting message, if there is one; it stays in the queue.
    virtual std::optional<unsigned> PeekMessages() = 0;
};

}  // namespace platform
