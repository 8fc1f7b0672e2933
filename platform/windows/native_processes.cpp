#include "platform/windows/native_processes.h"

#include <algorithm>

#include "platform/windows/handle.h"
#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

class NativeProcess : public Process {
  public:
    explicit NativeProcess(const PROCESS_INFORMATION& information)
        : m_process(information.hProcess), m_thread(information.hThread) {}

    bool Wait(std::chrono::milliseconds timeout) override {
        const auto limit = std::clamp<long long>(timeout.count(), 0, INFINITE - 1);
        return WaitForSingleObject(m_process.Get(), static_cast<DWORD>(limit)) == WAIT_OBJECT_0;
    }

  private:
    Handle m_process;
    Handle m_thread;
};

}  // namespace

Result<std::unique_ptr<Process>> NativeProcesses::Start(std::string_view commandLine) {
    // The system writes into the command line.
    std::string line(commandLine);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information{};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &information)) {
        return FromLastError(commandLine);
    }
    return std::unique_ptr<Process>(std::make_unique<NativeProcess>(information));
}

Result<SystemVersion> NativeProcesses::Version() {
    OSVERSIONINFOA information{};
    information.dwOSVersionInfoSize = sizeof information;
    if (!GetVersionExA(&information)) return FromLastError("system version");
    return SystemVersion{information.dwMajorVersion, information.dwMinorVersion};
}

int NativeProcesses::ProfileNumber(std::string_view section, std::string_view key, int otherwise) {
    return static_cast<int>(
        GetProfileIntA(std::string(section).c_str(), std::string(key).c_str(), otherwise));
}

bool NativeWindows::Exists(std::string_view windowClass) {
    return FindWindowA(std::string(windowClass).c_str(), nullptr) != nullptr;
}

std::optional<unsigned> NativeWindows::PeekMessages() {
    MSG message;
    if (!PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE)) return std::nullopt;
    return message.message;
}

}  // namespace platform::windows
