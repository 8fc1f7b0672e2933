#include "host/mail/html_entities.h"

#include <algorithm>
#include <optional>

#include "text/ascii.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestReference = 12;

// From U+00A0 on, one after the other.
constexpr std::string_view kLatin1[] = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

constexpr struct {
    std::string_view name;
    char32_t letter;
} kOthers[] = {{"amp", '&'},      {"lt", '<'},        {"gt", '>'},        {"quot", '"'},
               {"apos", '\''},    {"hellip", 0x2026}, {"mdash", 0x2014},  {"ndash", 0x2013},
               {"lsquo", 0x2018}, {"rsquo", 0x2019},  {"sbquo", 0x201A},  {"ldquo", 0x201C},
               {"rdquo", 0x201D}, {"bdquo", 0x201E},  {"lsaquo", 0x2039}, {"rsaquo", 0x203A},
               {"bull", 0x2022},  {"euro", 0x20AC},   {"trade", 0x2122},  {"OElig", 0x152},
               {"oelig", 0x153},  {"Scaron", 0x160},  {"scaron", 0x161},  {"Yuml", 0x178},
               {"fnof", 0x192},   {"dagger", 0x2020}, {"Dagger", 0x2021}, {"permil", 0x2030},
               {"larr", 0x2190},  {"uarr", 0x2191},   {"rarr", 0x2192},   {"darr", 0x2193},
               {"minus", 0x2212}, {"ne", 0x2260},     {"le", 0x2264},     {"ge", 0x2265},
               {"zwnj", 0x200C},  {"zwj", 0x200D},    {"ensp", ' '},      {"emsp", ' '},
               {"thinsp", ' '}};

std::optional<char32_t> Named(std::string_view name) {
    if (const auto* found = std::ranges::find(kLatin1, name); found != std::end(kLatin1)) {
        return 0xA0 + static_cast<char32_t>(found - std::begin(kLatin1));
    }
    for (const auto& row : kOthers) {
        if (row.name == name) return row.letter;
    }
    return std::nullopt;
}

std::optional<char32_t> Numbered(std::string_view digits) {
    const bool isHex = digits.starts_with('x') || digits.starts_with('X');
    if (isHex) digits.remove_prefix(1);
    const auto number = text::NumberIn<std::uint32_t>(digits, isHex ? 16 : 10);
    if (!number || *number == 0 || *number > 0x10FFFF) return std::nullopt;
    const bool isHalf = *number >= 0xD800 && *number < 0xE000;
    return isHalf ? std::nullopt : std::optional<char32_t>(*number);
}

}  // namespace

std::string DecodedEntities(std::string_view html) {
    std::string text;
    while (!html.empty()) {
        const auto at = std::min(html.find('&'), html.size());
        text += html.substr(0, at);
        html.remove_prefix(at);
        const auto end = html.substr(0, kLongestReference).find(';');
        std::optional<char32_t> letter;
        if (end != std::string_view::npos && end > 1) {
            const auto name = html.substr(1, end - 1);
            letter = name.front() == '#' ? Numbered(name.substr(1)) : Named(name);
        }
        if (letter) {
            text::AppendUtf8(*letter, text);
            html.remove_prefix(end + 1);
        } else if (!html.empty()) {
            text += '&';
            html.remove_prefix(1);
        }
    }
    return text;
}

}  // namespace host::mail
