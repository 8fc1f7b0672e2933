#include "host/mail/encoded_words.h"

#include <memory>

#include <gmime/gmime.h>

#include "host/mail/compose.h"

namespace host {

namespace {

constexpr std::size_t kLongestWord = 900;  // bytes; a line holds 998
// "=?UTF-8?B?" and "?=" and base64 of this many bytes make 72 characters of the 75 allowed.
constexpr std::size_t kBytesInWord = 45;

using Text = std::unique_ptr<char, decltype(&g_free)>;

bool IsControl(char letter) {
    return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
}

std::size_t WordBytes(std::string_view text) {
    if (text.size() <= kBytesInWord) return text.size();
    std::size_t bytes = kBytesInWord;
    // A character is cut nowhere; what is no UTF-8 is cut anywhere.
    while (bytes > kBytesInWord - 4 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) {
        --bytes;
    }
    return bytes;
}

}  // namespace

bool NeedsEncoding(std::string_view text) {
    std::size_t word = 0;
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) >= 0x80 || IsControl(letter)) return true;
        word = letter == ' ' ? 0 : word + 1;
        if (word > kLongestWord) return true;
    }
    return text.find("=?") != std::string_view::npos;
}

std::string EncodeWords(std::string_view text) {
    std::string words;
    while (!text.empty()) {
        const std::string_view part = text.substr(0, WordBytes(text));
        const Text base64(
            g_base64_encode(reinterpret_cast<const guchar*>(part.data()), part.size()), g_free);
        if (!words.empty()) words += "\n ";
        words += "=?UTF-8?B?";
        words += base64.get();
        words += "?=";
        text.remove_prefix(part.size());
    }
    return words;
}

std::string DecodeWords(const std::string& text) {
    if (text.find("=?") == std::string::npos) return text;
    g_mime_init();
    const Text decoded(g_mime_utils_header_decode_text(nullptr, text.c_str()), g_free);
    return decoded == nullptr ? text : decoded.get();
}

std::string HeaderText(const std::string& text) {
    std::string clean = DecodeWords(text);
    for (char& letter : clean) {
        if (IsControl(letter)) letter = ' ';
    }
    clean.erase(clean.find_last_not_of(' ') + 1);
    clean.erase(0, clean.find_first_not_of(' '));
    return clean;
}

}  // namespace host
