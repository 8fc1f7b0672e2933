#pragma once

#include "platform/os/files.h"
#include "platform/os/processes.h"
#include "platform/os/registry.h"

namespace platform::prefix {

// What a Wine prefix tells of its system. Programs of the prefix are never started and their
// windows not seen.
class PrefixProcesses : public Processes {
  public:
    // `files` are those of the prefix. Both outlive this object.
    PrefixProcesses(Files& files, Registry& registry, unsigned codePage)
        : m_files(files), m_registry(registry), m_codePage(codePage) {}

    bool WindowExists(std::string_view windowClass) override;
    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override;
    std::optional<unsigned> PeekMessages() override { return std::nullopt; }
    Result<SystemVersion> Version() override;
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override;
    unsigned CodePage() override { return m_codePage; }

  private:
    Files& m_files;
    Registry& m_registry;
    unsigned m_codePage;
};

}  // namespace platform::prefix
