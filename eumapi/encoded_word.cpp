#include "eumapi/encoded_word.h"

#include <algorithm>

#include "platform/os/charset.h"
#include "platform/os/code_page.h"
#include "text/encoded_words.h"

namespace eumapi {

namespace {

bool IsWhole(std::string_view utf8) {
    constexpr std::string_view kNoCharacter = "\xEF\xBF\xBD";
    constexpr char kEscape = '\x1B';  // that switched no set
    return utf8.find(kNoCharacter) == utf8.npos && utf8.find(kEscape) == utf8.npos;
}

}  // namespace

std::string DecodeHeader(std::string_view text, unsigned codePage) {
    const auto convert = [=](std::string_view bytes,
                             std::string_view charset) -> std::optional<std::string> {
        const auto utf8 = platform::CharsetToUtf8(bytes, charset);
        if (!utf8 || !IsWhole(*utf8)) return std::nullopt;
        bool isLossy = false;
        auto converted = platform::FromUtf8(*utf8, codePage, &isLossy);
        if (isLossy) return std::nullopt;
        return converted;
    };
    std::string out = text::DecodeWords(text, text::Damage::kRefused, convert);
    std::ranges::replace_if(
        out, [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return out;
}

}  // namespace eumapi
