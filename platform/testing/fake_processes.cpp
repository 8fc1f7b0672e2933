#include "platform/testing/fake_processes.h"

namespace platform::testing {

namespace {

class FakeProcess : public Process {
  public:
    explicit FakeProcess(const FakeProcesses& owner) : m_owner(owner) {}
    bool Wait(std::chrono::milliseconds timeout) override {
        return m_owner.onWait && m_owner.onWait(timeout);
    }

  private:
    const FakeProcesses& m_owner;
};

}  // namespace

Result<std::unique_ptr<Process>> FakeProcesses::Start(std::string_view commandLine) {
    if (refuseStart) return Failure{ErrorCode::kNotSupported, std::string(commandLine)};
    started.emplace_back(commandLine);
    if (onStart) onStart();
    return std::unique_ptr<Process>(std::make_unique<FakeProcess>(*this));
}

int FakeProcesses::ProfileNumber(std::string_view section, std::string_view key, int otherwise) {
    const auto found = profile.find({std::string(section), std::string(key)});
    return found == profile.end() ? otherwise : found->second;
}

}  // namespace platform::testing
