#include "host/mail/stored_text.h"

#include <algorithm>

#include "host/base/paths.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/mail_view.h"
#include "text/utf.h"

namespace host::mail {

namespace {

// The charset that a header declares for a text of one part; empty if it declares none.
std::string DeclaredCharset(std::string_view header) {
    const auto type = text::MailView(header).Field("Content-Type").value_or("text/plain");
    const std::string lowered = text::Lowered(type);
    constexpr std::string_view kParameter = "charset=";
    const auto at = lowered.find(kParameter);
    if (!lowered.starts_with("text/") || at == std::string::npos) return {};
    const std::string_view value =
        text::TrimmedFront(std::string_view(lowered).substr(at + kParameter.size()), "\"' ");
    return std::string(value.substr(0, value.find_first_of("\"'; \t")));
}

// Whether there is a character that no text has: a byte that is none, or a control character of
// Latin 1, which stands where the code page of Windows has a letter.
bool HasNoneOf(std::string_view text) {
    while (!text.empty()) {
        const char32_t character = text::TakeUtf8(text);
        if (character == 0xFFFD || (character >= 0x80 && character < 0xA0)) return true;
    }
    return false;
}

}  // namespace

std::string StoredText(std::string_view bytes) {
    if (text::IsAscii(bytes) || text::IsUtf8(bytes)) return std::string(bytes);
    return base::ToUtf8(bytes);
}

std::string StoredBody(std::string_view bytes, std::string_view header) {
    const bool isShifted = bytes.find('\x1B') != bytes.npos;  // ISO-2022 is ASCII to look at
    const std::string charset =
        isShifted || !text::IsAscii(bytes) ? DeclaredCharset(header) : std::string();
    if (!charset.empty() && charset != "us-ascii") {
        auto decoded = platform::CharsetToUtf8(bytes, charset);
        if (decoded && !HasNoneOf(*decoded)) return *std::move(decoded);
    }
    return StoredText(bytes);
}

}  // namespace host::mail
