#include "host/doctor/text_check.h"

#include "platform/os/code_page.h"

namespace host::doctor {

bool TextCheck::IsText(std::string_view text) const {
    const std::string utf8 = platform::ToUtf8(text, m_codePage);
    // U+FFFD, and U+0080 to U+009F.
    if (utf8.find("\xEF\xBF\xBD") != utf8.npos) return false;
    for (std::size_t at = 0; (at = utf8.find('\xC2', at)) != utf8.npos; ++at) {
        if (static_cast<unsigned char>(utf8[at + 1]) < 0xA0) return false;
    }
    return true;
}

void TextCheck::Add(std::string_view text, bool isCut) {
    if (text.empty()) return;
    ++m_texts;
    const bool isText = IsText(text) || (isCut && IsText(text.substr(0, text.size() - 1)));
    if (!isText) ++m_strange;
}

}  // namespace host::doctor
