#include "platform/kvutil/kvutil_core.h"

#include "text/double_byte.h"

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

std::string_view LastBytes(std::string_view text, std::size_t count, unsigned codePage) {
    if (count >= text.size()) return text;
    std::size_t begin = text.size() - count;
    if (text::WholeCharacterPrefix(text, begin, codePage) != begin) ++begin;
    return text.substr(begin);
}

std::string ShortenPath(std::string_view path, std::size_t limit, unsigned codePage) {
    constexpr std::string_view kDots = "...";
    if (path.size() <= limit) return std::string(path);
    if (limit <= kDots.size()) return std::string(kDots.substr(0, limit));
    const std::size_t kept = limit - kDots.size();
    // The end of a path tells more than its beginning.
    const auto head = text::WholeCharacterPrefix(path, kept / 3, codePage);
    std::string text(path.substr(0, head));
    return text.append(kDots).append(LastBytes(path, kept - head, codePage));
}

}  // namespace kvutil
