#include "platform/os/code_page.h"

#include <algorithm>

#include "platform/windows/wide_text.h"
#include "platform/windows/windows_api.h"
#include "text/ascii.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace platform {

namespace {

// 0 for a name that is not known.
unsigned CodePageOf(const std::string& name) {
    static constexpr struct {
        std::string_view name;
        unsigned codePage;
    } kNamed[] = {{"big5", 950},          {"euc-jp", 20932},      {"gb18030", 54936},
                  {"iso-2022-jp", 50220}, {"iso-2022-kr", 50225}, {"koi8-r", 20866},
                  {"koi8-u", 21866},      {"macintosh", 10000},   {"utf-7", 65000},
                  {"utf-8", CP_UTF8}};
    // Those of a family end in a number.
    static constexpr struct {
        std::string_view prefix;
        unsigned first;
    } kNumbered[] = {{"windows-", 0}, {"cp", 0}, {"ibm", 0}, {"iso-8859-", 28590}};
    const auto named = std::ranges::find(kNamed, name, [](const auto& row) { return row.name; });
    if (named != std::end(kNamed)) return named->codePage;
    for (const auto& row : kNumbered) {
        if (!name.starts_with(row.prefix)) continue;
        const auto number = text::NumberIn<unsigned>(name.substr(row.prefix.size()));
        if (number) return row.first + *number;
    }
    return 0;
}

// 0 to 3 name whatever the machine has, which is not what a number of a text's own can mean.
unsigned KnownCodePage(unsigned codePage) {
    CPINFO info;
    return codePage > CP_THREAD_ACP && GetCPInfo(codePage, &info) && info.MaxCharSize <= 2
               ? codePage
               : 1252;
}

}  // namespace

bool IsKnownCodePage(unsigned codePage) {
    return IsValidCodePage(codePage) != FALSE;
}

CharacterCodes CodesOf(unsigned codePage) {
    const unsigned known = KnownCodePage(codePage);
    const auto decode = [known](const std::string& bytes) {
        const std::string utf8 = windows::Narrow(windows::WideName(bytes, known), CP_UTF8);
        std::string_view rest = utf8;
        const char32_t character = rest.empty() ? text::kNoCharacter : text::TakeUtf8(rest);
        return rest.empty() ? character : text::kNoCharacter;
    };
    const auto encode = [known](char32_t character) {
        std::string utf8;
        text::AppendUtf8(character, utf8);
        return windows::NarrowExactly(windows::Wide(utf8, CP_UTF8), known);
    };
    return {decode, encode};
}

char32_t RaiseCase(char32_t character) {
    if (character > 0xFFFF) return character;
    auto unit = static_cast<wchar_t>(character);
    CharUpperBuffW(&unit, 1);
    return unit;
}

std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset) {
    const std::string name = text::CharsetMeant(charset);
    if (name == "us-ascii" && text::IsAscii(bytes)) return std::string(bytes);
    const unsigned codePage = CodePageOf(name);
    if (codePage == CP_UTF8 || codePage == 1252) return ToUtf8(bytes, codePage);
    // 0 to 3 name whatever the machine has.
    if (codePage <= CP_THREAD_ACP || IsValidCodePage(codePage) == FALSE) return std::nullopt;
    return windows::Narrow(windows::Wide(bytes, codePage), CP_UTF8);
}

std::string InLocale(std::string_view utf8) {
    return std::string(utf8);
}

bool IsLocaleUtf8() {
    return true;
}

}  // namespace platform
