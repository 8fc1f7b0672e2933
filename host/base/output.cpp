#include "host/base/output.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

#include "platform/os/code_page.h"
#include "text/utf.h"

namespace host::base {

namespace {

// Control characters, line ends and tabs among them, the marks for the direction of text, and the
// line ends of no system.
bool IsOdd(char32_t character) {
    struct Range {
        char32_t first, last;
    };
    constexpr Range kRanges[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                 {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x206F}};
    return std::ranges::any_of(kRanges, [&](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

// `append` writes each odd character but those in `kept` anew.
template <class Append>
std::string Replaced(std::string_view text, std::string_view kept, Append append) {
    std::string replaced;
    replaced.reserve(text.size());
    while (!text.empty()) {
        const std::string_view before = text;
        const char32_t character = text::TakeUtf8(text);
        if (IsOdd(character) && kept.find(before[0]) == std::string_view::npos) {
            append(replaced, character);
        } else {
            replaced += before.substr(0, before.size() - text.size());
        }
    }
    return replaced;
}

// An ASCII control character has a picture: U+2400 and its number, U+2421 for the last one.
void AppendShown(std::string& out, char32_t character) {
    constexpr char32_t kUnknown = 0xFFFD, kPictures = 0x2400, kLastPicture = 0x2421;
    text::AppendUtf8(character > 0x7F    ? kUnknown
                     : character == 0x7F ? kLastPicture
                                         : kPictures + character,
                     out);
}

void AppendEscape(std::string& out, char32_t character) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
    out += escape;
}

std::size_t CharacterWidth(char lead) {
    if (text::IsContinuation(lead)) return 0;
    const auto byte = static_cast<unsigned char>(lead);
    // U+3000 to U+DFFF
    return byte >= 0xE3 && byte <= 0xED ? 2 : 1;
}

}  // namespace

bool PrintLine(std::string_view text) {
    std::cout << platform::InLocale(OneLine(text)) << std::endl;
    return OutputIsWhole();
}

void PrintText(std::string_view text) {
    std::cout << platform::InLocale(Visible(text));
    if (!text.empty() && !text.ends_with('\n')) std::cout << '\n';
    std::cout.flush();
}

bool OutputIsWhole() {
    return static_cast<bool>(std::cout);
}

void PrintError(std::string_view text) {
    std::cerr << "kvsync: " + platform::InLocale(OneLine(text)) + '\n';
}

void PrintLog(std::string_view text) {
    std::cerr << platform::InLocale(OneLine(text)) + '\n';
}

void ShowProgress(std::string_view text) {
    std::cerr << '\r' + platform::InLocale(OneLine(text)) + "\033[K" << std::flush;
}

std::string Visible(std::string_view text) {
    return Replaced(platform::ToUtf8(text, text::kUtf8), "\n\t", AppendShown);
}

std::string OneLine(std::string_view text) {
    return Replaced(platform::ToUtf8(text, text::kUtf8), {}, AppendShown);
}

std::string JsonText(const nlohmann::ordered_json& json, int indent) {
    using Errors = nlohmann::ordered_json::error_handler_t;
    return Replaced(json.dump(indent, ' ', !platform::IsLocaleUtf8(), Errors::replace), "\n",
                    AppendEscape);
}

std::string Counted(std::size_t count, const char* what) {
    const bool hissing = std::string_view(what).ends_with('x');
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : hissing ? "es" : "s");
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

std::string Column(std::string text, std::size_t width) {
    std::size_t columns = 0, end = 0;
    for (; end < text.size(); ++end) {
        columns += CharacterWidth(text[end]);
        if (columns > width) break;
    }
    text.resize(end);
    return Padded(std::move(text), width);
}

}  // namespace host::base
