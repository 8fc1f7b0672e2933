#include "host/dialogs/screen_text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cwchar>
#include <string_view>

namespace host {

namespace {

// The first character of well-formed UTF-8, taken off `rest`.
wchar_t TakeCharacter(std::string_view& rest) {
    const auto lead = static_cast<unsigned char>(rest[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned value = lead < 0x80 ? lead : lead & (0x7Fu >> length);
    for (const char byte : rest.substr(1, length - 1)) {
        value = value << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    }
    rest.remove_prefix(std::min(length, rest.size()));
    return static_cast<wchar_t>(value);
}

}  // namespace

std::string ForScreen(std::string_view utf8) {
    std::string text;
    while (!utf8.empty()) {
        std::array<char, MB_LEN_MAX> bytes{};
        std::mbstate_t state{};
        const std::size_t length = std::wcrtomb(bytes.data(), TakeCharacter(utf8), &state);
        text += length <= bytes.size() ? std::string(bytes.data(), length) : "?";
    }
    return text;
}

int CellsOf(std::string_view text) {
    int cells = 0;
    while (!text.empty()) {
        wchar_t letter = 0;
        std::mbstate_t state{};
        const std::size_t length = std::mbrtowc(&letter, text.data(), text.size(), &state);
        const bool isLetter = length > 0 && length <= text.size();
        cells += isLetter ? std::max(wcwidth(letter), 0) : 1;
        text.remove_prefix(isLetter ? length : 1);
    }
    return cells;
}

}  // namespace host
