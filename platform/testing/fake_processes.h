#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/os/processes.h"

namespace platform::testing {

// Processes that never run: a test says which windows there are and what a start brings.
class FakeProcesses : public Processes {
  public:
    std::set<std::string, std::less<>> windows;  // window classes
    std::vector<std::string> started;            // command lines
    bool refuseStart = false;
    std::function<void()> onStart;                          // after a start that succeeds
    std::function<bool(std::chrono::milliseconds)> onWait;  // whether the process has ended
    SystemVersion version{6, 1};
    std::map<std::pair<std::string, std::string>, int> profile;  // by section and key
    unsigned codePage = 1252;
    int peeks = 0;
    std::optional<unsigned> waiting;  // what a peek finds

    bool WindowExists(std::string_view windowClass) override {
        return windows.contains(windowClass);
    }
    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override;
    std::optional<unsigned> PeekMessages() override {
        ++peeks;
        return waiting;
    }
    Result<SystemVersion> Version() override { return version; }
    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override;
    unsigned CodePage() override { return codePage; }
};

}  // namespace platform::testing
