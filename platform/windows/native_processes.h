#pragma once

#include "platform/os/processes.h"

namespace platform::windows {

class NativeProcesses : public Processes {
  public:
    bool WindowExists(std::string_view windowClass) override;
    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override;
    std::optional<unsigned> PeekMessages() override;
    Result<SystemVersion> Version() override;
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override;
    unsigned CodePage() override;
};

}  // namespace platform::windows
