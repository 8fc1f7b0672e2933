#pragma once

#include "platform/os/registry.h"

namespace platform::windows {

// The machine's registry in the view of a 32-bit program, whatever this one is.
class NativeRegistry : public Registry {
  public:
    Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                 std::string_view value) override;
    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) override;
    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) override;
    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) override;
};

}  // namespace platform::windows
