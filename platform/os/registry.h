#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "platform/os/result.h"

namespace platform {

enum class RegistryRoot { kLocalMachine, kCurrentUser };

// The data of a value: a text in the system code page, without a closing zero, or a 32-bit number.
using RegistryData = std::variant<std::string, std::uint32_t>;

// The registry as 32-bit programs see it. Keys are separated by backslashes and have no root; keys
// and value names are in the system code page and match in any case. An empty value name is the
// key's default value.
class Registry {
  public:
    virtual ~Registry() = default;

    // kNotFound if the key or the value is missing or of another type. References to environment
    // variables (REG_EXPAND_SZ) are handed out as they stand.
    virtual Result<RegistryData> Read(RegistryRoot root, std::string_view key,
                                      std::string_view value) = 0;
    // Stores a value and creates its key if needed. After a failure the old value stands.
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
