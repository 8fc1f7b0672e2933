#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/os/processes.h"

namespace platform::testing {

// Processes that are started and never end.
class FakeProcesses : public Processes {
  public:
    std::vector<std::string> started;  // command lines
    SystemVersion version{6, 1};
    std::map<std::pair<std::string, std::string>, int> profile;  // by section and key

    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override {
        started.emplace_back(commandLine);
        return std::unique_ptr<Process>(std::make_unique<FakeProcess>());
    }
    Result<SystemVersion> Version() override { return version; }
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override {
        const auto found = profile.find({std::string(section), std::string(key)});
        return found == profile.end() ? otherwise : found->second;
    }

  private:
    struct FakeProcess : Process {
        bool Wait(std::chrono::milliseconds) override { return false; }
    };
};

class FakeWindows : public Windows {
  public:
    std::set<std::string, std::less<>> classes;
    int peeks = 0;
    std::optional<unsigned> waiting;  // what a peek finds

    bool Exists(std::string_view windowClass) override { return classes.contains(windowClass); }
    std::optional<unsigned> PeekMessages() override {
        ++peeks;
        return waiting;
    }
};

}  // namespace platform::testing
