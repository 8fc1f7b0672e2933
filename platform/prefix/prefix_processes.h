#pragma once

#include "platform/os/files.h"
#include "platform/os/processes.h"
#include "platform/os/registry.h"

namespace platform::prefix {

// What a Wine prefix tells of its system. Programs of the prefix are never started.
class PrefixProcesses : public Processes {
  public:
    // `files` are those of the prefix. Both outlive this object.
    PrefixProcesses(Files& files, Registry& registry) : m_files(files), m_registry(registry) {}

    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override;
    Result<SystemVersion> Version() override;
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override;

  private:
    Files& m_files;
    Registry& m_registry;
};

class NoWindows : public Windows {
  public:
    bool Exists(std::string_view) override { return false; }
    std::optional<unsigned> PeekMessages() override { return std::nullopt; }
};

}  // namespace platform::prefix
