#include "host/maildir/folder_name.h"

#include <string_view>

#include "text/utf.h"

namespace host::maildir {

namespace {

bool IsPlain(char32_t letter) {
    return letter >= 0x20 && letter < 0x7F && letter != '&' && letter != '.' && letter != '/' &&
           letter != '\\';
}

// Base64 of the letters in UTF-16, big-endian, without padding and with a comma for the slash.
std::string Shifted(std::u16string_view letters) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";
    std::string out = "&";
    unsigned bits = 0, count = 0;
    const auto put = [&](unsigned byte) {
        bits = bits << 8 | byte;
        for (count += 8; count >= 6; count -= 6) out += kDigits[bits >> (count - 6) & 63];
        bits &= (1U << count) - 1;
    };
    for (const char16_t letter : letters) {
        put(letter >> 8);
        put(letter & 0xFF);
    }
    if (count > 0) out += kDigits[bits << (6 - count) & 63];
    return out + '-';
}

}  // namespace

std::string FolderName(const std::vector<std::string>& names) {
    std::string folder;
    for (const std::string_view name : names) {
        folder += '.';
        std::u16string waiting;
        const auto flush = [&] {
            if (!waiting.empty()) folder += Shifted(waiting);
            waiting.clear();
        };
        for (std::string_view rest = name; !rest.empty();) {
            const char32_t letter = text::TakeUtf8(rest);
            if (letter == '&') {
                flush();
                folder += "&-";
            } else if (IsPlain(letter)) {
                flush();
                folder += static_cast<char>(letter);
            } else {
                text::AppendUtf16(letter == text::kNoCharacter ? U'\uFFFD' : letter, waiting);
            }
        }
        flush();
    }
    return folder;
}

}  // namespace host::maildir
