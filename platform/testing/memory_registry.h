#pragma once

#include <map>
#include <tuple>

#include "platform/os/registry.h"
#include "text/ascii.h"

namespace platform::testing {

// A registry in memory; keys and names without regard to case (of ASCII letters).
class MemoryRegistry : public Registry {
  public:
    Result<RegistryData> Read(RegistryRoot root, std::string_view key,
                              std::string_view value) override {
        const auto found = m_values.find({root, text::Lowered(key), text::Lowered(value)});
        if (found == m_values.end()) return Failure{ErrorCode::kNotFound, std::string(key)};
        return found->second;
    }
    Status Write(RegistryRoot root, std::string_view key, std::string_view value,
                 const RegistryData& data) override {
        m_values[{root, text::Lowered(key), text::Lowered(value)}] = data;
        return {};
    }

  private:
    std::map<std::tuple<RegistryRoot, std::string, std::string>, RegistryData> m_values;
};

}  // namespace platform::testing
