#pragma once

#include <chrono>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/os/result.h"
#include "platform/windows/windows_api.h"

namespace platform::windows {

// Owns a kernel handle; null and INVALID_HANDLE_VALUE are none.
class Handle {
  public:
    explicit Handle(HANDLE handle = nullptr) : m_handle(handle) {}
    Handle(Handle&& other) noexcept : m_handle(other.Release()) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Handle() {
        if (*this) CloseHandle(m_handle);
    }

    explicit operator bool() const {
        return m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE;
    }
    HANDLE Get() const { return m_handle; }
    HANDLE Release() { return std::exchange(m_handle, nullptr); }

  private:
    HANDLE m_handle;
};

struct ModuleCloser {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};
// Owns a loaded module.
using Module = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser>;

// A FILETIME counts 100 ns from 1601-01-01 UTC; this many of them lie before 1970.
using FileTicks = std::chrono::duration<long long, std::ratio<1, 10'000'000>>;
inline constexpr FileTicks kEpochOffset{116'444'736'000'000'000};

inline FileTicks TicksOf(const FILETIME& time) {
    return FileTicks{static_cast<long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime};
}

inline std::chrono::system_clock::time_point TimePointOf(const FILETIME& time) {
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(TicksOf(time) -
                                                                        kEpochOffset));
}

// Of an instant of any precision.
template <class Duration>
FILETIME FileTimeOf(std::chrono::sys_time<Duration> instant) {
    const auto ticks =
        (std::chrono::floor<FileTicks>(instant.time_since_epoch()) + kEpochOffset).count();
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

// The failure of a system call on the thing named `context`, from its error number.
Failure FromError(DWORD number, std::string_view context);
// The same with GetLastError().
Failure FromLastError(std::string_view context);
// The result of a system call that gives 0 on failure.
inline Status Checked(BOOL success, std::string_view context) {
    return success ? Status() : FromLastError(context);
}

}  // namespace platform::windows
