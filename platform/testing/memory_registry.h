#pragma once

#include <map>
#include <string>
#include <tuple>
#include <variant>

#include "platform/os/registry.h"

namespace platform::testing {

// A registry in memory; keys and names without regard to case (of ASCII letters).
class MemoryRegistry : public Registry {
  public:
    Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                 std::string_view value) override;
    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) override;
    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) override;
    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) override;

    bool refuseWrites = false;  // every write fails with kAccessDenied

  private:
    using Name = std::tuple<RegistryRoot, std::string, std::string>;
    static Name MakeName(RegistryRoot root, std::string_view key, std::string_view value);
    Status Store(RegistryRoot root, std::string_view key, std::string_view value,
                 std::variant<std::string, std::uint32_t> content);

    std::map<Name, std::variant<std::string, std::uint32_t>> m_values;
};

}  // namespace platform::testing
