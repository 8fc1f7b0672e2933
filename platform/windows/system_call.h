#pragma once

#include <chrono>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/os/result.h"
#include "platform/os/system_call.h"
#include "platform/windows/windows_api.h"

namespace platform::windows {

// A kernel object. Some calls give null for none, others INVALID_HANDLE_VALUE.
struct KernelObject {
    using Value = HANDLE;
    static constexpr HANDLE kNone = nullptr;
    static bool IsHandle(HANDLE handle) {
        return handle != nullptr && handle != INVALID_HANDLE_VALUE;
    }
    static void Close(HANDLE handle) { CloseHandle(handle); }
};
using Handle = Owned<KernelObject>;

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
