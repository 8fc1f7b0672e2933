#include "host/cli/terminal_text.h"

#include <string_view>

namespace host {

namespace {

constexpr std::string_view kUnknown = "\xEF\xBF\xBD";  // U+FFFD

bool IsControl(char letter) {
    return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
}

// How many bytes from `at` on are a control character U+0080 to U+009F.
std::size_t HighControlAt(std::string_view text, std::size_t at) {
    if (text[at] != '\xC2' || at + 1 >= text.size()) return 0;
    return static_cast<unsigned char>(text[at + 1]) < 0xA0 ? 2 : 0;
}

// The same of the marks U+200E, U+200F, U+202A to U+202E and U+2066 to U+2069 for the direction of
// text, and U+2028 and U+2029, the line ends of no system.
std::size_t DirectionMarkAt(std::string_view text, std::size_t at) {
    if (at + 2 >= text.size() || text[at] != '\xE2') return 0;
    const auto second = static_cast<unsigned char>(text[at + 1]);
    const auto third = static_cast<unsigned char>(text[at + 2]);
    const bool is80 =
        second == 0x80 && ((third >= 0xA8 && third <= 0xAE) || third == 0x8E || third == 0x8F);
    return is80 || (second == 0x81 && third >= 0xA6 && third <= 0xA9) ? 3 : 0;
}

// The picture of an ASCII control character: U+2400 and its number, U+2421 for the last one.
void AppendPicture(std::string& out, char control) {
    out += "\xE2\x90";
    out += control == 0x7F ? '\xA1' : static_cast<char>(0x80 + control);
}

std::size_t CharacterWidth(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if ((byte & 0xC0) == 0x80) return 0;
    // U+3000 to U+DFFF
    return byte >= 0xE3 && byte <= 0xED ? 2 : 1;
}

}  // namespace

std::string Printable(std::string text) {
    for (char& letter : text) {
        if (IsControl(letter)) letter = ' ';
    }
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (HighControlAt(text, i) != 0) text.replace(i, 2, kUnknown);
    }
    return text;
}

std::string Visible(const std::string& text) {
    std::string visible;
    visible.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t odd = HighControlAt(text, i) + DirectionMarkAt(text, i);
        if (odd != 0) {
            visible += kUnknown;
            i += odd - 1;
        } else if (IsControl(text[i]) && text[i] != '\n' && text[i] != '\t') {
            AppendPicture(visible, text[i]);
        } else {
            visible += text[i];
        }
    }
    return visible;
}

std::size_t Width(const std::string& text) {
    std::size_t width = 0;
    for (const char letter : text) width += CharacterWidth(letter);
    return width;
}

std::string Padded(std::string text, std::size_t width) {
    const std::size_t has = Width(text);
    if (has < width) text.append(width - has, ' ');
    return text;
}

std::string Column(const std::string& text, std::size_t width) {
    std::size_t columns = 0, end = 0;
    for (; end < text.size(); ++end) {
        columns += CharacterWidth(text[end]);
        if (columns > width) break;
    }
    return Padded(text.substr(0, end), width);
}

}  // namespace host
