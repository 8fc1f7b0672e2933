#pragma once

#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/os/libraries.h"
#include "platform/os/result.h"

namespace platform::posix {

// Owns a file descriptor; -1 is none.
class FileHandle {
  public:
    explicit FileHandle(int descriptor = -1) : m_descriptor(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : m_descriptor(other.Release()) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileHandle() {
        if (m_descriptor >= 0) close(m_descriptor);
    }

    explicit operator bool() const { return m_descriptor >= 0; }
    int Get() const { return m_descriptor; }
    int Release() { return std::exchange(m_descriptor, -1); }

  private:
    int m_descriptor;
};

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
