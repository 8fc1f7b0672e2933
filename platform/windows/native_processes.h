#pragma once

#include "platform/os/processes.h"

namespace platform::windows {

class NativeProcesses : public Processes {
  public:
    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override;
    Result<SystemVersion> Version() override;
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override;
};

class NativeWindows : public Windows {
  public:
    bool Exists(std::string_view windowClass) override;
    std::optional<unsigned> PeekMessages() override;
};

}  // namespace platform::windows
