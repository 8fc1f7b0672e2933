#include "host/vcard/card_text.h"

#include <algorithm>
#include <span>

#include "text/ascii.h"
#include "text/utf.h"

namespace host::vcard {

namespace {

struct Escape {
    char plain, letter;  // the letter stands behind the mark
};

// Those that are written, and two that older writers have.
constexpr Escape kTextEscapes[] = {{'\\', '\\'}, {',', ','},  {';', ';'},
                                   {'\n', 'n'},  {'\n', 'N'}, {':', ':'}};
constexpr std::size_t kWritten = 4;

std::string Escaped(std::string_view text, char mark, std::span<const Escape> escapes) {
    std::string escaped;
    for (const char byte : text) {
        const auto escape = std::ranges::find(escapes, byte, &Escape::plain);
        if (escape != escapes.end()) escaped += mark;
        escaped += escape != escapes.end() ? escape->letter : byte;
    }
    return escaped;
}

}  // namespace

std::string EscapeText(std::string_view text) {
    return Escaped(text, '\\', std::span(kTextEscapes).first(kWritten));
}

std::string UnescapeText(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto* escape = std::end(kTextEscapes);
        if (text[i] == '\\' && i + 1 < text.size()) {
            escape = std::ranges::find(kTextEscapes, text[i + 1], &Escape::letter);
        }
        const bool isEscape = escape != std::end(kTextEscapes);
        plain += isEscape ? escape->plain : text[i];
        i += isEscape;
    }
    return plain;
}

std::vector<std::string> SplitEscaped(std::string_view text, char separator) {
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += text[i];
            // A backslash at the very end stands for itself; escaped, it can do no harm to what is
            // put behind it.
            if (text[i] == '\\') pieces.back() += ++i < text.size() ? text[i] : '\\';
        }
    }
    return pieces;
}

std::string EncodeParameter(std::string_view text) {
    constexpr Escape kEscapes[] = {{'\n', 'n'}, {'^', '^'}, {'"', '\''}};
    const std::string encoded = Escaped(text, '^', kEscapes);
    const bool needsQuotes = encoded.find_first_of(",;:") != std::string::npos;
    return needsQuotes ? '"' + encoded + '"' : encoded;
}

std::string DecodeParameter(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        const bool isEscape = text[i] == '^' && (next == 'n' || next == '^' || next == '\'');
        if (isEscape) {
            decoded += next == '^' ? '^' : next == '\'' ? '"' : '\n';
            ++i;
        } else if (text[i] != '"') {
            decoded += text[i] == '\r' ? '\n' : text[i];
        }
    }
    return decoded;
}

std::string DecodeQuotedPrintable(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '=' && i + 2 < text.size() ? text::HexValue(text[i + 1]) : -1;
        const int low = high >= 0 ? text::HexValue(text[i + 2]) : -1;
        if (low < 0) {
            decoded += text[i];
        } else {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    return decoded;
}

std::string Fold(std::string_view line, std::string_view lineEnd) {
    constexpr std::size_t kWidth = 75;
    std::string folded;
    std::size_t width = kWidth;
    while (line.size() > width) {
        std::size_t cut = width;
        while (cut > 1 && text::IsContinuation(line[cut])) --cut;
        folded.append(line.substr(0, cut)).append(lineEnd).append(" ");
        line.remove_prefix(cut);
        width = kWidth - 1;
    }
    return folded.append(line).append(lineEnd);
}

}  // namespace host::vcard
