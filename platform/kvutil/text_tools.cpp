#include "platform/kvutil/text_tools.h"

#include "text/double_byte.h"

namespace kvutil {

std::string_view LastBytes(std::string_view text, std::size_t count, unsigned codePage) {
    if (count >= text.size()) return text;
    std::size_t begin = text.size() - count;
    if (text::WholeCharacterPrefix(text, begin, codePage) != begin) ++begin;
    return text.substr(begin);
}

void ReplaceText(std::string& text, std::string_view find, std::string_view replacement,
                 int count) {
    if (find.empty()) return;
    std::string result;
    std::size_t copied = 0;
    for (int done = 0; count < 0 || done < count; ++done) {
        const auto found = text.find(find, copied);
        if (found == std::string::npos) break;
        result.append(text, copied, found - copied).append(replacement);
        copied = found + find.size();
    }
    text = std::move(result.append(text, copied));
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
