#include "host/mail/encoded_words.h"

#include "host/mail/charset_text.h"
#include "host/mail/transfer_encoding.h"
#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr unsigned kUtf8 = 65001;
constexpr std::size_t kLongestWord = 900;  // bytes; a line holds 998
// "=?UTF-8?B?" and "?=" and base64 of this many bytes make 72 characters of the 75 allowed.
constexpr std::size_t kBytesInWord = 45;

std::size_t WordBytes(std::string_view text) {
    if (text.size() <= kBytesInWord) return text.size();
    std::size_t bytes = kBytesInWord;
    // A character is cut nowhere; what is no UTF-8 is cut anywhere.
    while (bytes > kBytesInWord - 4 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) {
        --bytes;
    }
    return bytes;
}

// What is no escape stands for itself.
std::string FromQ(std::string_view payload) {
    std::string bytes;
    for (std::size_t i = 0; i < payload.size(); ++i) {
        const bool isEscape = payload[i] == '=' && i + 2 < payload.size();
        const int high = isEscape ? text::HexValue(payload[i + 1]) : -1;
        const int low = isEscape ? text::HexValue(payload[i + 2]) : -1;
        if (high >= 0 && low >= 0) {
            bytes += static_cast<char>(high << 4 | low);
            i += 2;
        } else {
            bytes += payload[i] == '_' ? ' ' : payload[i];
        }
    }
    return bytes;
}

// What is no digit is passed over; padding says nothing.
std::string FromBase64(std::string_view payload) {
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char letter : payload) {
        const auto value = kBase64Digits.find(letter);
        if (value == kNone) continue;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

}  // namespace

bool NeedsEncoding(std::string_view text) {
    std::size_t word = 0;
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) >= 0x80 || text::IsControl(letter)) return true;
        word = letter == ' ' ? 0 : word + 1;
        if (word > kLongestWord) return true;
    }
    return text.find("=?") != std::string_view::npos;
}

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
    return m_isBase64 ? FromBase64(m_payload) : FromQ(m_payload);
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

std::string DecodeWords(std::string_view text) {
    return DecodeWords(text, kUtf8);
}

std::string HeaderText(const std::string& text) {
    return text::WithoutControls(DecodeWords(text));
}

}  // namespace host::mail
