#include "host/mail/address_list.h"

#include <algorithm>
#include <string_view>

#include "host/mail/encoded_words.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestAddress = 900;
constexpr std::string_view kAtomMarks = "!#$%&'*+-/=?^_`{|}~.";

bool IsAtomLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || kAtomMarks.find(letter) != std::string_view::npos;
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

std::string Trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

// A display name: words as they are, else quoted, else in encoded words.
std::string Phrase(const std::string& name) {
    if (NeedsEncoding(name)) return EncodeWords(name);
    const bool isPlain = std::ranges::all_of(
        name, [](char letter) { return (IsAtomLetter(letter) && letter != '.') || letter == ' '; });
    if (isPlain) return name;
    std::string quoted = "\"";
    for (const char letter : name) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return quoted + '"';
}

std::string Unquoted(const std::string& name) {
    return IsQuoted(name) ? name.substr(1, name.size() - 2) : name;
}

std::string HeaderAddress(const std::string& text) {
    if (IsAddress(text)) return text;
    const auto open = text.rfind('<');
    if (open != std::string::npos && text.back() == '>') {
        const std::string address = text.substr(open + 1, text.size() - open - 2);
        const std::string name = Unquoted(Trimmed(std::string_view(text).substr(0, open)));
        if (IsAddress(address)) return name.empty() ? address : Phrase(name) + " <" + address + '>';
    }
    return Phrase(Unquoted(text)) + ":;";
}

}  // namespace

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

}  // namespace host::mail
