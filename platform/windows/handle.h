#pragma once

#include <utility>

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

// Owns a loaded module.
class Module {
  public:
    explicit Module(HMODULE module) : m_module(module) {}
    Module(Module&& other) noexcept : m_module(std::exchange(other.m_module, nullptr)) {}
    Module& operator=(Module&&) = delete;
    ~Module() {
        if (m_module != nullptr) FreeLibrary(m_module);
    }

    explicit operator bool() const { return m_module != nullptr; }
    HMODULE Get() const { return m_module; }

  private:
    HMODULE m_module;
};

}  // namespace platform::windows
