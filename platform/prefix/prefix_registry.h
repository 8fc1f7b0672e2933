#pragma once

#include <array>
#include <string>

#include "platform/os/files.h"
#include "platform/os/registry.h"
#include "platform/prefix/registry_text.h"

namespace platform::prefix {

// The registry of a Wine prefix, in its files system.reg and user.reg, as a 32-bit program sees
// it: in a prefix of 64 bits the machine's Software keys are looked for under Wow6432Node first,
// and written there; Software\Classes is common to both. A file that somebody changed is read
// again. While Wine itself runs, it keeps its own copy and overwrites the files when it ends.
class PrefixRegistry : public Registry {
  public:
    // `native` outlives this object.
    PrefixRegistry(std::string prefix, Files& native, unsigned codePage)
        : m_prefix(std::move(prefix)), m_native(native), m_codePage(codePage) {}

    Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                 std::string_view value) override;
    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) override;
    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) override;
    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) override;

  private:
    struct Content {
        FileInfo info;
        std::string text;
        bool isRead = false;
    };

    std::string PathOf(RegistryRoot root) const;
    Result<Content*> Load(RegistryRoot root);
    Result<RegistryValue> Find(RegistryRoot root, std::string_view key, std::string_view value);
    Status Store(RegistryRoot root, std::string_view key, std::string_view value, unsigned type,
                 std::string data);

    std::string m_prefix;
    Files& m_native;
    unsigned m_codePage;
    std::array<Content, 2> m_contents;
};

// The number of the prefix's system code page; 1252 if the prefix does not say.
unsigned PrefixCodePage(const std::string& prefix, Files& native);

}  // namespace platform::prefix
