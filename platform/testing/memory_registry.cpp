#include "platform/testing/memory_registry.h"

#include "text/ascii.h"

namespace platform::testing {

MemoryRegistry::Name MemoryRegistry::MakeName(RegistryRoot root, std::string_view key,
                                              std::string_view value) {
    return {root, text::Lowered(key), text::Lowered(value)};
}

Result<std::string> MemoryRegistry::ReadText(RegistryRoot root, std::string_view key,
                                             std::string_view value) {
    const auto found = m_values.find(MakeName(root, key, value));
    if (found == m_values.end() || found->second.index() != 0) {
        return Failure{ErrorCode::kNotFound, std::string(key)};
    }
    return std::get<std::string>(found->second);
}

Result<std::uint32_t> MemoryRegistry::ReadNumber(RegistryRoot root, std::string_view key,
                                                 std::string_view value) {
    const auto found = m_values.find(MakeName(root, key, value));
    if (found == m_values.end() || found->second.index() != 1) {
        return Failure{ErrorCode::kNotFound, std::string(key)};
    }
    return std::get<std::uint32_t>(found->second);
}

Status MemoryRegistry::Store(RegistryRoot root, std::string_view key, std::string_view value,
                             std::variant<std::string, std::uint32_t> content) {
    if (refuseWrites) return Failure{ErrorCode::kAccessDenied, std::string(key)};
    m_values[MakeName(root, key, value)] = std::move(content);
    return {};
}

Status MemoryRegistry::WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                                 std::string_view text) {
    return Store(root, key, value, std::string(text));
}

Status MemoryRegistry::WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                                   std::uint32_t number) {
    return Store(root, key, value, number);
}

}  // namespace platform::testing
