#include "host/mail/transfer_encoding.h"

#include <algorithm>

#include "text/ascii.h"
#include "text/encoded_words.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestLine = 998;
constexpr std::size_t kQuotedWidth = 76;
constexpr std::string_view kSeparator = "From ";

// Whether mailbox files would take the front of the text for a separator, or for a quoted one.
bool IsSeparator(std::string_view text) {
    if (text.empty() || (text.front() != '>' && text.front() != 'F')) return false;
    return text::TrimmedFront(text.substr(0, kQuotedWidth), ">").starts_with(kSeparator);
}

bool LinesFit(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (end > kLongestLine || IsSeparator(text)) return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

// Whether a text goes on in its line behind its first `length` bytes.
bool GoesOn(std::string_view text, std::size_t length) {
    return text.size() > length && text[length] != '\n' && text[length] != '\r';
}

void AppendQuoted(std::string& out, std::string_view text) {
    constexpr std::string_view kEscapedAtEnd = " \t\r";
    const bool endsInEscape = !text.empty() && kEscapedAtEnd.find(text.back()) != text.npos;
    std::size_t column = 0;
    const auto escape = [&](char letter) {
        out += '=' + text::Hex({&letter, 1});
        column += 3;
    };
    for (; !text.empty(); text.remove_prefix(1)) {
        const char letter = text.front();
        if (letter == '\n') {
            out += '\n';
            column = 0;
            continue;
        }
        const bool isBlank = letter == ' ' || letter == '\t';
        const bool isPlain = isBlank || (letter > ' ' && letter < 0x7F && letter != '=');
        // A return stays at the end of its line, whatever its width is.
        if (letter != '\r' && column + (isPlain ? 1 : 3) >= kQuotedWidth) {
            out += "=\n";
            column = 0;
        }
        const bool isSeparator = column == 0 && IsSeparator(text);
        if (!isPlain || isSeparator || (isBlank && !GoesOn(text, 1))) {
            escape(letter);
        } else {
            out += letter;
            ++column;
        }
        if (isSeparator) column = 1;
    }
    if (endsInEscape) out += "=\n";
}

}  // namespace

std::string_view ChooseEncoding(std::string_view text) {
    const auto odd = static_cast<std::size_t>(std::ranges::count_if(text, [](char letter) {
        return (letter & 0x80) != 0 || letter == '\0' || letter == '\r';
    }));
    if (odd == 0 && LinesFit(text)) return k7Bit;
    // An escape takes three bytes for one, base64 four for three.
    const bool isMostlyText = odd * 6 <= text.size();
    return isMostlyText ? kQuotedPrintable : kBase64;
}

void AppendEncoded(std::string& out, std::string_view text, std::string_view encoding) {
    if (encoding == k7Bit) {
        out += text;
    } else if (encoding == kQuotedPrintable) {
        AppendQuoted(out, text);
    } else {
        AppendBase64Lines(out, text);
    }
}

void AppendBase64(std::string& out, std::string_view bytes) {
    const std::size_t begin = out.size();
    out.resize(begin + (bytes.size() + 2) / 3 * 4, '=');
    char* at = out.data() + begin;
    const auto byte = [&](std::size_t i) { return unsigned{static_cast<unsigned char>(bytes[i])}; };
    const auto put = [&](unsigned bits, unsigned digits) {
        for (unsigned i = 0; i < digits; ++i)
            at[i] = text::kBase64Digits[bits >> (18 - 6 * i) & 63];
        at += 4;
    };
    for (; bytes.size() >= 3; bytes.remove_prefix(3)) {
        put(byte(0) << 16 | byte(1) << 8 | byte(2), 4);
    }
    if (bytes.size() == 2) put(byte(0) << 16 | byte(1) << 8, 3);
    if (bytes.size() == 1) put(byte(0) << 16, 2);
}

void AppendBase64Lines(std::string& out, std::string_view bytes) {
    out.reserve(out.size() + (bytes.size() / kBase64LineBytes + 1) * 77);
    while (!bytes.empty()) {
        const auto line = bytes.substr(0, kBase64LineBytes);
        AppendBase64(out, line);
        out += '\n';
        bytes.remove_prefix(line.size());
    }
}

}  // namespace host::mail
