#pragma once

#include <unistd.h>

#include <utility>

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

}  // namespace platform::posix
