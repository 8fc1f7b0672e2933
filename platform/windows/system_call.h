#pragma once

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

// The failure of a system call on the thing named `context`, from its error number.
Failure FromError(DWORD number, std::string_view context);
// The same with GetLastError().
Failure FromLastError(std::string_view context);
// What a system call gives that is not 0 when it succeeds.
inline Status Checked(BOOL success, std::string_view context) {
    return success ? Status() : FromLastError(context);
}

}  // namespace platform::windows
