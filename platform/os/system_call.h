#pragma once

#include <algorithm>
#include <initializer_list>
#include <span>
#include <utility>

#include "platform/os/result.h"

// What the backends share around system calls.
namespace platform {

// The numbers of a system's errors that are failures of one kind.
struct ErrorGroup {
    ErrorCode code;
    std::initializer_list<int> numbers;
};

// The kind of an error: kIo unless a group has it.
inline ErrorCode CodeIn(std::span<const ErrorGroup> groups, int number) {
    const auto found = std::ranges::find_if(groups, [&](const ErrorGroup& group) {
        return std::ranges::find(group.numbers, number) != group.numbers.end();
    });
    return found == groups.end() ? ErrorCode::kIo : found->code;
}

// Owns a handle of the system, which it closes; errors of closing are ignored. `Traits` has the
// type Value, its value kNone for no handle, and Close. IsHandle tells which values are handles.
template <class Traits>
class Owned {
  public:
    using Value = typename Traits::Value;

    explicit Owned(Value handle = Traits::kNone) : m_handle(handle) {}
    Owned(Owned&& other) noexcept : m_handle(other.Release()) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Owned() {
        if (*this) Traits::Close(m_handle);
    }

    explicit operator bool() const { return Traits::IsHandle(m_handle); }
    Value Get() const { return m_handle; }
    // The handle, which the caller owns from then on.
    Value Release() { return std::exchange(m_handle, Traits::kNone); }
    // Where a system call puts the handle, while there is none.
    Value* Out() { return &m_handle; }

  private:
    Value m_handle;
};

}  // namespace platform
