#include "platform/kvutil/registry_access.h"

namespace kvutil {

platform::Result<std::string> ReadBoundedText(platform::Registry& registry,
                                              platform::RegistryRoot root, std::string_view key,
                                              std::string_view value, std::size_t size) {
    auto text = registry.ReadText(root, key, value);
    if (text && text->size() >= size) {
        return platform::Failure{platform::ErrorCode::kTooLarge, std::string(key)};
    }
    return text;
}

}  // namespace kvutil
