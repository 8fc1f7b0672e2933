#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/os/result.h"

namespace platform {

enum class RegistryRoot { kLocalMachine, kCurrentUser };

// The registry, as seen by a 32-bit program. Keys are written with backslashes and without a root,
// and keys and value names are matched without regard to case; an empty value name is the key's
// default value. Texts are in the system code page, without a closing zero.
class Registry {
  public:
    virtual ~Registry() = default;

    // kNotFound if the key or the value is missing or is no text. References to environment
    // variables (REG_EXPAND_SZ) are handed out as they stand.
    virtual Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                         std::string_view value) = 0;
    // kNotFound if the key or the value is missing or is no 32-bit number.
    virtual Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                             std::string_view value) = 0;
    // Both create the key if needed, and change nothing else.
    virtual Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                             std::string_view text) = 0;
    virtual Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                               std::uint32_t number) = 0;
};

}  // namespace platform
