#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "platform/os/result.h"

namespace platform {

enum class RegistryRoot { kLocalMachine, kCurrentUser };

// What a value holds: a text in the system code page, without a closing zero, or a 32-bit number.
using RegistryData = std::variant<std::string, std::uint32_t>;

// The registry, as seen by a 32-bit program. Keys are written with backslashes and without a root,
// and keys and value names are matched without regard to case; an empty value name is the key's
// default value.
class Registry {
  public:
    virtual ~Registry() = default;

    // kNotFound if the key or the value is missing or of another type. References to environment
    // variables (REG_EXPAND_SZ) are handed out as they stand.
    virtual Result<RegistryData> Read(RegistryRoot root, std::string_view key,
                                      std::string_view value) = 0;
    // Creates the key if needed, and changes nothing else.
    virtual Status Write(RegistryRoot root, std::string_view key, std::string_view value,
                         const RegistryData& data) = 0;

    // The same for one kind; kNotFound for a value of the other.
    Result<std::string> ReadText(RegistryRoot root, std::string_view key, std::string_view value) {
        return ReadAs<std::string>(root, key, value);
    }
    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) {
        return ReadAs<std::uint32_t>(root, key, value);
    }
    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) {
        return Write(root, key, value, std::string(text));
    }
    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) {
        return Write(root, key, value, number);
    }

  private:
    template <class Kind>
    Result<Kind> ReadAs(RegistryRoot root, std::string_view key, std::string_view value) {
        auto data = Read(root, key, value);
        if (!data) return data.Error();
        if (Kind* const kind = std::get_if<Kind>(&*data)) return std::move(*kind);
        return Failure{ErrorCode::kNotFound, std::string(key)};
    }
};

}  // namespace platform
