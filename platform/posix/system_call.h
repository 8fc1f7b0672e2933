#pragma once

#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/os/libraries.h"
#include "platform/os/result.h"
#include "platform/os/system_call.h"

namespace platform::posix {

struct Descriptor {
    using Value = int;
    static constexpr int kNone = -1;
    static bool IsHandle(int descriptor) { return descriptor >= 0; }
    static void Close(int descriptor) { close(descriptor); }
};
using FileHandle = Owned<Descriptor>;

// The failure of a system call on the thing named `context`, from its errno.
Failure FromErrno(int number, std::string_view context);

// The result of a system call that gives 0 on success.
inline Status Checked(int result, std::string_view context) {
    return result == 0 ? Status() : FromErrno(errno, context);
}

// Calls `move(done, left)`, which reads or writes as read(2) does, until all `size` bytes are moved
// or there are no more; gives how many were.
template <class Move>
Result<std::size_t> MoveBytes(std::size_t size, std::string_view context, const Move& move) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = move(done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return FromErrno(errno, context);
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

// Loads a shared object by its native path; null on failure, with the reason in dlerror.
std::unique_ptr<Library> LoadSharedObject(const std::string& file);

}  // namespace platform::posix
