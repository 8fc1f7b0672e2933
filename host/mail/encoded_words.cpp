#include "host/mail/encoded_words.h"

#include <algorithm>
#include <memory>

#include <gmime/gmime.h>

#include "host/mail/charset_text.h"
#include "host/mail/compose.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr unsigned kUtf8 = 65001;
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

bool EncodedWordScan::Accept(std::size_t at) {
    const auto charsetEnd = m_rest.find('?', at + 2);
    if (charsetEnd == kNone || charsetEnd + 2 >= m_rest.size()) return false;
    const char kind = m_rest[charsetEnd + 1];
    const bool isQ = kind == 'q' || kind == 'Q', isB = kind == 'b' || kind == 'B';
    if ((!isQ && !isB) || m_rest[charsetEnd + 2] != '?') return false;
    const auto begin = charsetEnd + 3, end = m_rest.find('?', begin);
    if (end == kNone || m_rest.substr(end, 2) != "?=") return false;
    m_charset = m_rest.substr(at + 2, charsetEnd - at - 2);
    m_charset = m_charset.substr(0, m_charset.find('*'));  // a language may follow
    m_payload = m_rest.substr(begin, end - begin);
    m_isBase64 = isB;
    m_before = m_rest.substr(0, at);
    m_word = m_rest.substr(at, end + 2 - at);
    m_rest.remove_prefix(end + 2);
    return true;
}

bool EncodedWordScan::Next() {
    for (auto at = m_rest.find("=?"); at != kNone; at = m_rest.find("=?", at + 1)) {
        if (Accept(at)) return true;
    }
    return false;
}

std::string EncodedWordScan::Bytes() const {
    GMimeEncoding decoder;
    g_mime_encoding_init_decode(&decoder, m_isBase64 ? GMIME_CONTENT_ENCODING_BASE64
                                                     : GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    std::string payload(m_payload);
    if (!m_isBase64) std::ranges::replace(payload, '_', ' ');
    // A blank at the end of a line is none in a body.
    if (!m_isBase64) payload += '.';
    std::string bytes(g_mime_encoding_outlen(&decoder, payload.size()), '\0');
    bytes.resize(g_mime_encoding_step(&decoder, payload.data(), payload.size(), bytes.data()));
    if (!m_isBase64 && !bytes.empty()) bytes.pop_back();
    return bytes;
}

std::string DecodeWords(std::string_view text, unsigned codePage) {
    std::string decoded, bytes, charset;
    const auto finish = [&] {
        decoded += DecodedText(bytes, charset, codePage);
        bytes.clear();
    };
    bool isBehindWord = false;
    EncodedWordScan scan(text);
    while (scan.Next()) {
        const bool goesOn =
            isBehindWord && scan.Before().find_first_not_of(" \t") == std::string_view::npos;
        if (!goesOn || charset != scan.Charset()) finish();
        if (!goesOn) decoded += scan.Before();
        charset = scan.Charset();
        bytes += scan.Bytes();
        isBehindWord = true;
    }
    finish();
    return decoded.append(scan.Behind());
}

std::string DecodeWords(const std::string& text) {
    return DecodeWords(text, kUtf8);
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

}  // namespace host::mail
