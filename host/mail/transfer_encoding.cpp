#include "host/mail/transfer_encoding.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace host::mail {

namespace {

constexpr std::size_t kLongestLine = 998;
constexpr std::string_view kSeparator = "From ";

void AppendStep(GMimeEncoding& encoding, std::string_view bytes, std::string& out,
                decltype(&g_mime_encoding_step) step) {
    const std::size_t begin = out.size();
    out.resize(begin + g_mime_encoding_outlen(&encoding, bytes.size()));
    out.resize(begin + step(&encoding, bytes.data(), bytes.size(), out.data() + begin));
}

// Eight bytes at a time: every text is counted.
std::size_t CountNonAscii(std::string_view text) {
    std::size_t count = 0;
    while (!text.empty()) {
        std::uint64_t word = 0;
        const std::size_t bytes = std::min(text.size(), sizeof word);
        std::memcpy(&word, text.data(), bytes);
        count += static_cast<std::size_t>(std::popcount(word & 0x8080808080808080));
        text.remove_prefix(bytes);
    }
    return count;
}

// Mostly there is none, which is found out fast.
std::size_t CountOf(std::string_view text, char letter) {
    const std::size_t first = text.find(letter);
    if (first == std::string_view::npos) return 0;
    return static_cast<std::size_t>(
        std::count(text.begin() + static_cast<std::ptrdiff_t>(first), text.end(), letter));
}

bool LinesFit(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (end > kLongestLine || text.starts_with(kSeparator)) return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

void AppendQuoted(std::string& out, std::string_view text) {
    GMimeEncoding encoding;
    g_mime_encoding_init_encode(&encoding, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    const std::size_t begin = out.size();
    AppendStep(encoding, text, out, g_mime_encoding_flush);
    // The encoder leaves a line's beginning "From " alone.
    auto at =
        out.compare(begin, kSeparator.size(), kSeparator) == 0 ? begin : out.find("\nFrom ", begin);
    while (at != std::string::npos) {
        if (out[at] == '\n') ++at;
        out.replace(at, 1, "=46");
        at = out.find("\nFrom ", at);
    }
}

}  // namespace

std::string_view NameOf(TransferEncoding encoding) {
    switch (encoding) {
        case TransferEncoding::k7Bit:
            return "7bit";
        case TransferEncoding::kQuotedPrintable:
            return "quoted-printable";
        case TransferEncoding::kBase64:
            break;
    }
    return "base64";
}

TransferEncoding ChooseEncoding(std::string_view text) {
    const std::size_t high = CountNonAscii(text);
    const std::size_t odd = CountOf(text, '\0') + CountOf(text, '\r');
    if (high == 0 && odd == 0 && LinesFit(text)) return TransferEncoding::k7Bit;
    // An escape takes three bytes for one, base64 four for three.
    const bool isMostlyText = (high + odd) * 6 <= text.size();
    return isMostlyText ? TransferEncoding::kQuotedPrintable : TransferEncoding::kBase64;
}

void AppendEncoded(std::string& out, std::string_view text, TransferEncoding encoding) {
    if (encoding == TransferEncoding::k7Bit) {
        out += text;
    } else if (encoding == TransferEncoding::kQuotedPrintable) {
        AppendQuoted(out, text);
    } else {
        Base64Stream stream(out);
        stream.Add(text);
        stream.Finish();
    }
}

Base64Stream::Base64Stream(std::string& out) : m_out(out) {
    g_mime_encoding_init_encode(&m_encoding, GMIME_CONTENT_ENCODING_BASE64);
}

void Base64Stream::Add(std::string_view bytes) {
    AppendStep(m_encoding, bytes, m_out, g_mime_encoding_step);
}

void Base64Stream::Finish() {
    AppendStep(m_encoding, {}, m_out, g_mime_encoding_flush);
}

}  // namespace host::mail
