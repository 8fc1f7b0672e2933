#include "platform/os/system.h"

#include <algorithm>
#include <filesystem>

#include "platform/os/code_page.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/system_call.h"
#include "platform/windows/wide_text.h"

namespace platform {

namespace {

using windows::FromLastError;

class WindowsProcess : public Process {
  public:
    explicit WindowsProcess(const PROCESS_INFORMATION& information)
        : m_process(information.hProcess), m_thread(information.hThread) {}

    bool Wait(std::chrono::milliseconds timeout) override {
        const auto limit = std::clamp<long long>(timeout.count(), 0, INFINITE - 1);
        return WaitForSingleObject(m_process.Get(), static_cast<DWORD>(limit)) == WAIT_OBJECT_0;
    }

  private:
    windows::Handle m_process, m_thread;
};

class WindowsProcesses : public Processes {
  public:
    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override {
        // The system writes into the command line.
        std::string line(commandLine);
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION information{};
        if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                            &startup, &information)) {
            return FromLastError(commandLine);
        }
        return std::unique_ptr<Process>(std::make_unique<WindowsProcess>(information));
    }

    Result<SystemVersion> Version() override {
        OSVERSIONINFOA information{};
        information.dwOSVersionInfoSize = sizeof information;
        if (!GetVersionExA(&information)) return FromLastError("system version");
        return SystemVersion{information.dwMajorVersion, information.dwMinorVersion};
    }

    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override {
        return static_cast<int>(
            GetProfileIntA(std::string(section).c_str(), std::string(key).c_str(), otherwise));
    }
};

class AllWindows : public Windows {
  public:
    bool Exists(std::string_view windowClass) override {
        return FindWindowA(std::string(windowClass).c_str(), nullptr) != nullptr;
    }

    std::optional<unsigned> PeekMessages() override {
        MSG message;
        if (!PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE)) return std::nullopt;
        return message.message;
    }
};

}  // namespace

const System& NativeSystem() {
    static WindowsProcesses processes;
    static AllWindows allWindows;
    static const System system{
        windows::SystemFiles(),     windows::NativeRegistry(), processes,     allWindows,
        windows::NativeLibraries(), windows::NativeDialogs(),  NativeClock(), GetACP()};
    return system;
}

std::optional<std::string> NativePathOf(std::string_view windowsPath) {
    const std::filesystem::path path = windows::Wide(windowsPath, CP_ACP);
    std::error_code error;
    const auto real =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    return windows::Narrow((error ? path : real).native(), CP_UTF8);
}

std::optional<std::string> WindowsPathOf(std::string_view nativePath) {
    bool lossy = false;
    std::string path = FromUtf8(nativePath, GetACP(), &lossy);
    if (lossy) return std::nullopt;
    return path;
}

}  // namespace platform
