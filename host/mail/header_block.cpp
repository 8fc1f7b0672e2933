#include "host/mail/header_block.h"

#include <algorithm>
#include <vector>

#include "host/mail/encoded_words.h"
#include "host/mail/transfer_encoding.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace host::mail {

namespace {

// The decoded text with blanks for control characters and none at the ends.
std::string HeaderText(std::string_view text) {
    return text::WithoutControls(DecodeWords(text));
}

constexpr std::size_t kLongestWord = 900;  // bytes; a line holds 998
// "=?UTF-8?B?" and "?=" and base64 of this many bytes make 72 characters of the 75 allowed.
constexpr std::size_t kBytesInWord = 45;

std::size_t WordBytes(std::string_view text) {
    if (text.size() <= kBytesInWord) return text.size();
    std::size_t bytes = kBytesInWord;
    // A character is cut nowhere; what is no UTF-8 is cut anywhere.
    while (bytes > kBytesInWord - 4 && text::IsContinuation(text[bytes])) --bytes;
    return bytes;
}

// Whether a header can hold the text only in encoded words: it is not ASCII, holds control
// characters, would be taken for an encoded word, or has a word too long for a line.
bool NeedsEncoding(std::string_view text) {
    std::size_t word = 0;
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) >= 0x80 || text::IsControl(letter)) return true;
        word = letter == ' ' ? 0 : word + 1;
        if (word > kLongestWord) return true;
    }
    return text.find("=?") != std::string_view::npos;
}

// The text as encoded words of UTF-8 (RFC 2047), a line for each.
std::string EncodeWords(std::string_view text) {
    std::string words;
    while (!text.empty()) {
        const std::string_view part = text.substr(0, WordBytes(text));
        words += words.empty() ? "=?UTF-8?B?" : "\n =?UTF-8?B?";
        AppendBase64(words, part);
        words += "?=";
        text.remove_prefix(part.size());
    }
    return words;
}

constexpr std::size_t kLineWidth = 76;
constexpr std::size_t kLongestAddress = 900;
constexpr std::string_view kAtomMarks = "!#$%&'*+-/=?^_`{|}~.";

bool IsAtomLetter(char letter) {
    return text::IsLetter(letter) || text::IsDigit(letter) ||
           kAtomMarks.find(letter) != std::string_view::npos;
}

bool IsAtom(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, IsAtomLetter);
}

bool IsQuoted(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' && text.back() == '"' &&
           std::ranges::all_of(text.substr(1, text.size() - 2), [](char letter) {
               return letter >= ' ' && letter < 0x7F && letter != '"' && letter != '\\';
           });
}

bool IsDomain(std::string_view text) {
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') {
        return std::ranges::all_of(text.substr(1, text.size() - 2), [](char letter) {
            return IsAtomLetter(letter) || letter == ':';
        });
    }
    return IsAtom(text);
}

bool IsAddress(std::string_view text) {
    const auto at = text.rfind('@');
    if (at == std::string_view::npos || text.size() > kLongestAddress) return false;
    const std::string_view local = text.substr(0, at);
    return (IsAtom(local) || IsQuoted(local)) && IsDomain(text.substr(at + 1));
}

// A display name: words as they are, else quoted, else in encoded words.
std::string Phrase(const std::string& name) {
    if (NeedsEncoding(name)) return EncodeWords(name);
    const bool isPlain = std::ranges::all_of(
        name, [](char letter) { return (IsAtomLetter(letter) && letter != '.') || letter == ' '; });
    return isPlain ? name : Quoted(name);
}

std::string Unquoted(std::string_view name) {
    return std::string(IsQuoted(name) ? name.substr(1, name.size() - 2) : name);
}

std::string HeaderAddress(const std::string& text) {
    if (IsAddress(text)) return text;
    const auto open = text.rfind('<');
    if (open != std::string::npos && text.back() == '>') {
        const std::string address = text.substr(open + 1, text.size() - open - 2);
        const std::string name =
            Unquoted(text::Trimmed(std::string_view(text).substr(0, open), " "));
        if (IsAddress(address)) return name.empty() ? address : Phrase(name) + " <" + address + '>';
    }
    return Phrase(Unquoted(text)) + ":;";
}

// The addresses as a header field holds them. What is no address, such as a nickname, becomes a
// group of that name without members, so that it is seen and nothing is sent to it.
std::vector<std::string> HeaderAddresses(const std::string& text) {
    std::vector<std::string> addresses;
    std::string_view rest = text;
    while (!rest.empty()) {
        bool isQuoted = false;
        const auto end = std::ranges::find_if(rest, [&isQuoted](char letter) {
            if (letter == '"') isQuoted = !isQuoted;
            return letter == ';' && !isQuoted;
        });
        const auto length = static_cast<std::size_t>(end - rest.begin());
        const std::string piece = HeaderText(std::string(rest.substr(0, length)));
        if (!piece.empty()) addresses.push_back(HeaderAddress(piece));
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    return addresses;
}

// Breaks lines in front of blanks, so that unfolding gives the text back.
std::string Folded(std::string_view text, std::size_t column) {
    std::string folded;
    while (!text.empty()) {
        const auto word = std::min(text.find_first_not_of(' '), text.size());
        const auto end = std::min(text.find(' ', word), text.size());
        if (column + end > kLineWidth && !folded.empty()) {
            folded += '\n';
            column = 0;
        }
        folded += text.substr(0, end);
        column += end;
        text.remove_prefix(end);
    }
    return folded;
}

}  // namespace

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return quoted + '"';
}

void AppendField(std::string& header, std::string_view name, std::string_view value) {
    header.append(name).append(": ").append(value).append("\n");
}

void AppendText(std::string& header, std::string_view name,
                const std::optional<std::string>& text) {
    const std::string value = HeaderText(text.value_or(""));
    if (value.empty()) return;
    const bool isPlain = !NeedsEncoding(value);
    AppendField(header, name, isPlain ? Folded(value, name.size() + 2) : EncodeWords(value));
}

void AppendAddresses(std::string& header, std::string_view name,
                     const std::optional<std::string>& text) {
    std::string value;
    std::size_t column = name.size() + 2;
    for (const std::string& address : HeaderAddresses(text.value_or(""))) {
        if (!value.empty()) {
            const bool fits = column + 2 + address.size() <= kLineWidth;
            value += fits ? ", " : ",\n ";
            column = fits ? column + 2 : 1;
        }
        value += address;
        column += address.size();
    }
    if (!value.empty()) AppendField(header, name, value);
}

}  // namespace host::mail
