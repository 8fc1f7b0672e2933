#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/os/libraries.h"

namespace platform::testing {

// Libraries made of what a test says, found by their paths without regard to case. What is still
// loaded at the end goes with this object, as it goes with a process.
class FakeLibraries : public Libraries {
  public:
    FakeLibraries() = default;
    ~FakeLibraries() override;
    FakeLibraries(const FakeLibraries&) = delete;
    FakeLibraries& operator=(const FakeLibraries&) = delete;

    using Strings = std::map<unsigned, std::string>;

    void AddLibrary(std::string_view path, std::map<std::string, void*> symbols);
    void AddResources(std::string_view path, Strings strings);
    // How many are loaded now, and which paths were tried, in order.
    long LoadedCount() const {
        return static_cast<long>(m_live.size()) + m_resourceToken.use_count() - 1;
    }
    const std::vector<std::string>& Tries() const { return m_tries; }

    Result<std::unique_ptr<Library>> Load(std::string_view path) override;
    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override;

    unsigned codePage = 1252;  // decides where a text may be cut

  private:
    std::map<std::string, std::map<std::string, void*>> m_libraries;
    std::map<std::string, Strings> m_resources;
    std::vector<std::string> m_tries;
    const std::shared_ptr<int> m_resourceToken = std::make_shared<int>();  // each open one has it
    std::set<Library*> m_live;
};

}  // namespace platform::testing
