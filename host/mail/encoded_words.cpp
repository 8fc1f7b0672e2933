#include "host/mail/encoded_words.h"

#include "host/mail/transfer_encoding.h"
#include "platform/os/charset.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestWord = 900;  // bytes; a line holds 998
// "=?UTF-8?B?" and "?=" and base64 of this many bytes make 72 characters of the 75 allowed.
constexpr std::size_t kBytesInWord = 45;

std::size_t WordBytes(std::string_view text) {
    if (text.size() <= kBytesInWord) return text.size();
    std::size_t bytes = kBytesInWord;
    // A character is cut nowhere; what is no UTF-8 is cut anywhere.
    while (bytes > kBytesInWord - 4 && text::IsContinuation(text[bytes])) {
        --bytes;
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

std::string DecodedText(std::string_view bytes, std::string_view charset, unsigned codePage) {
    if (auto text = platform::CharsetToUtf8(bytes, charset)) return *std::move(text);
    return text::IsUtf8(bytes) ? std::string(bytes) : platform::ToUtf8(bytes, codePage);
}

std::string DecodeWords(std::string_view text, unsigned codePage) {
    return text::DecodeWords(text, text::Damage::kPassedOver,
                             [=](std::string_view bytes, std::string_view charset) {
                                 return DecodedText(bytes, charset, codePage);
                             });
}

std::string HeaderText(std::string_view text) {
    return text::WithoutControls(DecodeWords(text));
}

}  // namespace host::mail
