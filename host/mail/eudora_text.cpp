#include "host/mail/eudora_text.h"

#include <algorithm>

#include <gmime/gmime.h>

#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/double_byte.h"
#include "text/path.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::size_t kLongestToCompose = 4096;

// Eudora makes a file of ours out of the first, and a mail of its own out of the second.
constexpr std::string_view kLineMarks[] = {"Attachment Converted:", "From ???@???"};
constexpr std::string_view kTextMarks[] = {"<x-html>",  "</x-html>",  "<x-rich>",
                                           "</x-rich>", "<x-flowed>", "</x-flowed>"};

// Decomposed characters composed, where that is cheap.
std::string Composed(const std::string& text) {
    if (text.size() > kLongestToCompose || !text::IsUtf8(text)) return text;
    char* const composed = g_utf8_normalize(text.c_str(), static_cast<gssize>(text.size()),
                                            G_NORMALIZE_DEFAULT_COMPOSE);
    std::string result = composed != nullptr ? composed : text;
    g_free(composed);
    return result;
}

template <std::size_t kCount>
bool BeginsWithAny(std::string_view text, const std::string_view (&marks)[kCount]) {
    return std::ranges::any_of(
        marks, [text](std::string_view mark) { return text::StartsWithNoCase(text, mark); });
}

// With a blank in front of each line that begins like one of Eudora's, and in a plain text behind
// the "<" of what reads like a mark of Eudora's.
std::string Spoilt(std::string_view text, bool isPlain) {
    std::string spoilt;
    spoilt.reserve(text.size());
    for (bool beginsLine = true; !text.empty();) {
        if (beginsLine && BeginsWithAny(text, kLineMarks)) spoilt += ' ';
        const auto length = std::min(text.find_first_of("\n<"), text.size() - 1) + 1;
        spoilt += text.substr(0, length);
        beginsLine = text[length - 1] == '\n';
        if (isPlain && BeginsWithAny(text.substr(length - 1), kTextMarks)) spoilt += ' ';
        text.remove_prefix(length);
    }
    return spoilt;
}

constexpr std::size_t kLongestName = 100, kLongestExtension = 20;  // bytes of the code page

// Of the UTF-8 name, where every forbidden letter is itself.
std::string WithoutForbidden(std::string_view name) {
    std::string plain(name.substr(name.find_last_of("/\\") + 1));
    for (char& letter : plain) {
        if (text::IsForbiddenInNames(letter) || letter == 0x7F) letter = '_';
    }
    return plain;
}

// Windows drops them at an end, and at the front they hide a file.
std::string_view Trimmed(std::string_view name) {
    return text::Trimmed(name, " .");
}

std::string Shortened(const std::string& name, unsigned codePage) {
    if (name.size() <= kLongestName) return name;
    auto parts = text::SplitPath(name, codePage);
    if (parts.extension.size() > kLongestExtension) {
        parts.name += parts.extension;
        parts.extension.clear();
    }
    const auto room = kLongestName - parts.extension.size();
    parts.name.resize(text::WholeCharacterPrefix(parts.name, room, codePage));
    return std::string(Trimmed(parts.name + parts.extension));
}

}  // namespace

std::string EudoraText::Convert(const std::string& text) {
    bool isLossy = false;
    std::string converted = platform::FromUtf8(text, m_codePage, &isLossy);
    if (!isLossy) return converted;
    const std::string composed = Composed(text);
    if (composed != text) converted = platform::FromUtf8(composed, m_codePage);
    const auto asked = std::ranges::count(converted, '?'), before = std::ranges::count(text, '?');
    m_lost += static_cast<std::size_t>(std::max<std::ptrdiff_t>(asked - before, 0));
    return converted;
}

std::string EudoraText::Line(const std::string& text) {
    return text::WithoutControls(Convert(text));
}

std::string EudoraText::Body(const TextPiece& piece) {
    using enum TextPiece::Kind;
    std::string lines = text::WithCrLf(Convert(piece.text));
    std::ranges::replace(lines, '\0', ' ');
    const char* const mark = piece.kind == kHtml       ? "x-html>"
                             : piece.kind == kEnriched ? "x-rich>"
                                                       : nullptr;
    if (mark == nullptr) return Spoilt(lines, true);
    return std::string("<") + mark + Spoilt(lines, false) + "</" + mark;
}

std::string_view CutText(std::string_view text, std::size_t limit, unsigned codePage) {
    if (text.size() <= limit) return text;
    const auto lineEnd = text.rfind("\r\n", limit);
    if (lineEnd != kNone && lineEnd > limit / 2) return text.substr(0, lineEnd);
    return text.substr(0, text::WholeCharacterPrefix(text, limit, codePage));
}

std::string PlainAttachmentName(const std::string& name, const std::string& fallback,
                                unsigned codePage) {
    std::string plain = WithoutForbidden(Composed(name));
    plain = platform::FromUtf8(Trimmed(plain), codePage);
    // What the code page lacks.
    std::ranges::replace(plain, '?', '_');
    plain = Shortened(plain, codePage);
    if (plain.find_first_not_of("_ .") == std::string::npos) plain = fallback;
    return text::IsDevice(plain) ? '_' + plain : plain;
}

}  // namespace host::mail
